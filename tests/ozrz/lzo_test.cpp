// .lzo files: header fields, members, blocks of every kind, damage, and the lzop command.
#include <fcntl.h>
#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <bit>

#include "in_process.h"
#include "support/oracles.h"
#include "support/random.h"
#include "support/sample_data.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
namespace oracle = ozrdc::test::oracle;

constexpr uint32_t kAdlerOfContent = 1;
constexpr uint32_t kAdlerOfData = 2;
constexpr uint32_t kExtraField = 0x40;
constexpr uint32_t kCrcOfContent = 0x100;
constexpr uint32_t kCrcOfData = 0x200;
constexpr uint32_t kSplit = 0x400;
constexpr uint32_t kFilter = 0x800;
constexpr uint32_t kHeaderCrc = 0x1000;

constexpr std::size_t kBlock = 256 * 1024;

std::string bigEndian(uint64_t value, unsigned bytes) {
    std::string text;
    while (bytes-- > 0) text += static_cast<char>(value >> (8 * bytes));
    return text;
}

const Bytef* data(const std::string& bytes) { return reinterpret_cast<const Bytef*>(bytes.data()); }
uint32_t adlerOf(const std::string& bytes) {
    return static_cast<uint32_t>(adler32(1, data(bytes), static_cast<uInt>(bytes.size())));
}
uint32_t crcOf(const std::string& bytes) {
    return static_cast<uint32_t>(crc32(0, data(bytes), static_cast<uInt>(bytes.size())));
}

const std::string kMagic("\x89LZO\0\r\n\x1A\n", 9);

struct HeaderFields {
    unsigned version = 0x1040;
    unsigned needed = 0x0940;
    unsigned method = 1;
    uint32_t flags = kAdlerOfContent;
    uint32_t filter = 0;
    uint64_t mtime = 0;
    uint32_t mode = 0100644;
    std::string name{};
    std::string extra{};
};

std::string header(const HeaderFields& fields = {}) {
    std::string all = bigEndian(fields.version, 2) + bigEndian(0x20A0, 2) + bigEndian(fields.needed, 2) +
                      bigEndian(fields.method, 1) + bigEndian(5, 1) + bigEndian(fields.flags, 4);
    if ((fields.flags & kFilter) != 0) all += bigEndian(fields.filter, 4);
    all += bigEndian(fields.mode, 4) + bigEndian(fields.mtime & 0xFFFFFFFF, 4) + bigEndian(fields.mtime >> 32, 4) +
           bigEndian(fields.name.size(), 1) + fields.name;
    const auto check = [&](const std::string& bytes) {
        return bigEndian((fields.flags & kHeaderCrc) != 0 ? crcOf(bytes) : adlerOf(bytes), 4);
    };
    all += check(all);
    if ((fields.flags & kExtraField) != 0) {
        const std::string extra = bigEndian(fields.extra.size(), 4) + fields.extra;
        all += extra + check(extra);
    }
    return kMagic + all;
}

std::string packed(const std::string& contents) {
    const auto stream = oracle::lzoCompress(bytesOf(contents));
    return {stream.begin(), stream.end()};
}

// A block of given data, with the checks that the flags want.
std::string block(const std::string& contents, const std::string& data, uint32_t flags = kAdlerOfContent) {
    std::string all = bigEndian(contents.size(), 4) + bigEndian(data.size(), 4);
    if ((flags & kAdlerOfContent) != 0) all += bigEndian(adlerOf(contents), 4);
    if ((flags & kCrcOfContent) != 0) all += bigEndian(crcOf(contents), 4);
    if (data.size() < contents.size()) {
        if ((flags & kAdlerOfData) != 0) all += bigEndian(adlerOf(data), 4);
        if ((flags & kCrcOfData) != 0) all += bigEndian(crcOf(data), 4);
    }
    return all + data;
}

const std::string kEnd(4, '\0');

std::string storedMember(const std::string& contents) { return header() + block(contents, contents) + kEnd; }

// Decodes with one thread and with several, which must agree.
Decoded decode(const std::string& file) {
    Decoded one = decodeWith("lzo", file, {.threads = 1});
    const Decoded several = decodeWith("lzo", file, {.threads = 3});
    EXPECT_TRUE(one.contents == several.contents);
    EXPECT_EQ(one.error, several.error);
    EXPECT_EQ(one.warnings, several.warnings);
    return one;
}

void expectContents(const std::string& contents, const std::string& file) {
    const Decoded decoded = decode(file);
    ASSERT_EQ(decoded.error, "");
    ASSERT_TRUE(decoded.warnings.empty());
    ASSERT_TRUE(decoded.contents == contents);
}

std::string encode(const std::string& contents, int level = 3, unsigned threads = 1) {
    return encodeWith("lzo", contents, {.level = level, .threads = threads});
}

TEST(Lzo, RestoresEveryKindOfData) {
    for (const ozrdc::test::SampleKind& kind : ozrdc::test::sampleKinds()) {
        const std::string contents = sample(kind.name, 600'000);
        for (const int level : {1, 3, 9}) {
            SCOPED_TRACE(std::string(kind.name) + " -" + std::to_string(level));
            expectContents(contents, encode(contents, level));
        }
    }
}

TEST(Lzo, RestoresSizesAroundBlocks) {
    const std::string contents = sample("mixed", 2 * kBlock + 1);
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{20},
                                   kBlock - 1, kBlock, kBlock + 1, 2 * kBlock, contents.size()}) {
        for (const int level : {1, 3}) {
            SCOPED_TRACE(std::to_string(size) + " -" + std::to_string(level));
            expectContents(contents.substr(0, size), encode(contents.substr(0, size), level));
        }
    }
    EXPECT_EQ(encode("").size(), kMagic.size() + 25 + 4 + 4);
}

TEST(Lzo, BytesDoNotDependOnThreads) {
    const std::string contents = sample("mixed", 2'000'000) + sample("random", 500'000);
    for (const int level : {1, 3}) {
        const std::string one = encode(contents, level, 1);
        for (const unsigned threads : {2U, 3U, 8U}) EXPECT_TRUE(encode(contents, level, threads) == one);
    }
}

TEST(Lzo, DataThatDoNotShrinkAreStored) {
    const std::string contents = sample("random", 2 * kBlock + 100);
    EXPECT_EQ(encode(contents).size(), encode("").size() + contents.size() + 3 * std::size_t{12});
}

TEST(Lzo, EveryStreamOfLiblzoIsRead) {
    for (const char* kind : {"text", "mixed", "zeros", "runs"}) {
        const std::string contents = sample(kind, 200'000);
        std::string file = header();
        std::string all;
        const auto add = [&](const std::vector<uint8_t>& stream) {
            file += block(contents, {stream.begin(), stream.end()});
            all += contents;
        };
        add(oracle::lzoCompress(bytesOf(contents)));
        add(oracle::lzoCompress15(bytesOf(contents)));
        for (const int level : {1, 5, 9}) add(oracle::lzoCompress999(bytesOf(contents), level));
        expectContents(all, file + kEnd);
    }
}

TEST(Lzo, AllChecksAreReadAndCompared) {
    const std::string contents = sample("text", 5000);
    const std::string noise = sample("random", 100);
    for (unsigned bits = 0; bits < 16; ++bits) {
        uint32_t flags = 0;
        if ((bits & 1) != 0) flags |= kAdlerOfContent;
        if ((bits & 2) != 0) flags |= kCrcOfContent;
        if ((bits & 4) != 0) flags |= kAdlerOfData;
        if ((bits & 8) != 0) flags |= kCrcOfData;
        SCOPED_TRACE(flags);
        const std::string start = header({.flags = flags});
        const std::string first = block(contents, packed(contents), flags);
        const std::string file = start + first + block(noise, noise, flags) + kEnd;
        expectContents(contents + noise, file);
        // Each byte of each check.
        const std::size_t checks = 4 * static_cast<std::size_t>(std::popcount(bits));
        for (std::size_t i = 0; i < checks; ++i) {
            std::string damaged = file;
            char& byte = damaged[start.size() + 8 + i];
            byte = static_cast<char>(byte ^ 1);
            EXPECT_THAT(decode(damaged).error,
                        ContainsRegex("^block 1 at byte " + std::to_string(start.size()) +
                                      " is damaged: the (Adler-32|CRC-32) of its (content|data) is 0x[0-9a-f]+, but "
                                      "should be 0x[0-9a-f]+$"));
        }
    }
}

TEST(Lzo, HeadersOfAllKindsAreRead) {
    const std::string contents = "hello";
    for (const bool crc : {false, true}) {
        const uint32_t check = crc ? kHeaderCrc : 0;
        for (const HeaderFields& fields :
             {HeaderFields{.flags = check}, HeaderFields{.version = 0x0940, .flags = check},
              HeaderFields{.needed = 0x1040, .method = 2, .flags = check | 0x03000000},
              HeaderFields{.method = 3, .flags = check, .mtime = ~uint64_t{0}, .name = std::string(255, 'n')},
              HeaderFields{.flags = check | kExtraField}, HeaderFields{.flags = check | kFilter, .filter = 0},
              HeaderFields{.flags = check | kExtraField, .name = "n", .extra = std::string(100'000, 'x')}}) {
            const std::string start = header(fields);
            expectContents(contents, start + block(contents, contents, 0) + kEnd);
            for (std::size_t size = kMagic.size(); size < std::min<std::size_t>(start.size(), 400); ++size) {
                EXPECT_EQ(decode(start.substr(0, size)).error, "truncated: the data end inside an lzop header");
            }
            for (std::size_t i = kMagic.size(); i < std::min<std::size_t>(start.size(), 400); ++i) {
                std::string damaged = start;
                damaged[i] = static_cast<char>(damaged[i] ^ 1);
                EXPECT_NE(decode(damaged + block(contents, contents, 0) + kEnd).error, "") << i;
            }
        }
    }
}

TEST(Lzo, WrongHeadersAreErrors) {
    EXPECT_EQ(decode("plain text").error, "not an lzop file");
    EXPECT_EQ(decode("").error, "the file is empty");
    EXPECT_THAT(decode(header({.version = 0x0930})).error, HasSubstr("which is too old"));
    EXPECT_THAT(decode(header({.needed = 0x1041})).error, HasSubstr("needs the unknown version"));
    EXPECT_THAT(decode(header({.method = 128})).error, HasSubstr("names the unknown compression method 128"));
    EXPECT_THAT(decode(header({.flags = kSplit})).error, HasSubstr("one of several parts"));
    EXPECT_THAT(decode(header({.flags = kFilter, .filter = 17})).error, HasSubstr("names the unknown filter 17"));
    std::string damaged = header({.flags = kExtraField, .extra = "extra"});
    damaged.back() = static_cast<char>(damaged.back() ^ 1);
    EXPECT_THAT(decode(damaged).error, StartsWith("the extra field of an lzop header is damaged: its checksum is 0x"));
    damaged = header();
    damaged.back() = static_cast<char>(damaged.back() ^ 1);
    EXPECT_THAT(decode(damaged).error, StartsWith("an lzop header is damaged: its checksum is 0x"));
}

TEST(Lzo, WrongSizesAreErrors) {
    const std::string start = header({.flags = 0});
    const std::string name = "block 1 at byte " + std::to_string(start.size());
    const auto errorOf = [&](uint64_t size, uint64_t dataSize, const std::string& data) {
        return decode(start + bigEndian(size, 4) + bigEndian(dataSize, 4) + data + kEnd).error;
    };
    EXPECT_EQ(errorOf(0x4000001, 5, "hello"), name + " is damaged: its size 67108865 is above the maximum of 67108864");
    EXPECT_EQ(errorOf(0xFFFFFFFF, 5, "hello"),
              name + " is damaged: its size 4294967295 is above the maximum of 67108864");
    EXPECT_EQ(errorOf(5, 6, "hello!"), name + " is damaged: it has 6 bytes of data for 5 bytes");
    EXPECT_EQ(errorOf(5, 0, ""), name + " is damaged: it has 0 bytes of data for 5 bytes");
    EXPECT_EQ(errorOf(0x4000000, 0x4000000, "hello"), "truncated: the data end inside " + name);

    const std::string contents = sample("text", 3000);
    const std::string data = packed(contents);
    EXPECT_EQ(errorOf(contents.size(), data.size(), data), "");
    EXPECT_EQ(errorOf(contents.size() + 1, data.size(), data),
              name + " is damaged: it decodes to 3000 bytes, but should to 3001");
    EXPECT_EQ(errorOf(contents.size() - 1, data.size(), data),
              name + " is damaged: its data are no LZO stream of 2999 bytes");
    // An end marker alone, with and without room, and a match in front of the output.
    EXPECT_EQ(errorOf(100, 3, std::string("\x11\0\0", 3)),
              name + " is damaged: it decodes to 0 bytes, but should to 100");
    EXPECT_EQ(errorOf(100, 6, std::string("\x12\x61\x60\x10\x11\0", 6)),
              name + " is damaged: its data are no LZO stream of 100 bytes");
}

TEST(Lzo, StreamsThatLookLikeContainersAreStreams) {
    // 68 literals, of which the first ones are those of a container of one part, or of several; a size of anything.
    ozrdc::test::Random random(1);
    for (unsigned parts = 1; parts <= 32; ++parts) {
        for (const uint32_t total : {0U, 1U, 68U, 100U, 0x01000000U, 0xFFFFFFFFU}) {
            std::string literals(68, '\0');
            for (char& c : literals) c = static_cast<char>(random.byte());
            literals[0] = static_cast<char>(parts);
            literals[1] = static_cast<char>(parts ^ 0x55);
            for (unsigned i = 0; i < 4; ++i) literals[2 + i] = static_cast<char>(total >> (8 * i));
            // A match of 30 bytes at distance 68: what follows the literals begins with them again.
            const std::string contents = literals + literals.substr(0, 30);
            const std::string stream = "\x55" + literals + "\x3C\x0C\x01" + std::string("\x11\0\0", 3);
            const auto judged = oracle::lzoDecompress(bytesOf(stream), 1000);
            ASSERT_TRUE(judged && std::string(judged->begin(), judged->end()) == contents);
            expectContents(contents, header() + block(contents, stream) + kEnd);
        }
    }
}

TEST(Lzo, FiltersAreUndone) {
    for (uint32_t filter = 1; filter <= 16; ++filter) {
        std::string contents = sample("random", 10'000);
        for (std::size_t i = 0; i < 8000; ++i) contents[i] = static_cast<char>(7 * i);
        std::string filtered = contents;
        for (std::size_t i = contents.size(); i-- > filter;) {
            filtered[i] = static_cast<char>(contents[i] - contents[i - filter]);
        }
        const std::string data = packed(filtered);
        ASSERT_LT(data.size(), contents.size());
        expectContents(contents,
                       header({.flags = kAdlerOfContent | kFilter, .filter = filter}) + block(contents, data) + kEnd);
    }
}

TEST(Lzo, MembersAreOneFile) {
    const std::string a = sample("text", 700'000);
    expectContents(a + "hello" + a, encode(a) + encode("") + storedMember("hello") + encode(a, 1));
    std::string contents;
    std::string file;
    for (std::size_t i = 0; i < 2000; ++i) {
        const std::string part(i % 100 + 1, static_cast<char>('a' + i % 26));
        contents += part;
        file += storedMember(part);
    }
    expectContents(contents, file);
    const Decoded decoded = decode(storedMember("hello") + "garbage");
    EXPECT_EQ(decoded.contents, "hello");
    EXPECT_THAT(decoded.warnings, ElementsAre(StartsWith("trailing garbage ignored")));
    const std::string first = storedMember("hello");
    std::string damaged = storedMember("world");
    damaged[damaged.size() - 5] = 'D';
    EXPECT_THAT(decode(first + damaged).error,
                StartsWith("member 2, block 1 at byte " + std::to_string(first.size() + header().size())));
}

TEST(Lzo, EveryTruncationIsAnError) {
    const std::string contents = sample("text", 3000);
    const std::string whole = header() + block(contents, packed(contents)) + block("x", "x") + kEnd;
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const Decoded decoded = decode(whole.substr(0, size));
        ASSERT_THAT(decoded.error, StartsWith(size < kMagic.size() ? "not an lzop file" : "truncated: ")) << size;
        ASSERT_TRUE(contents.starts_with(decoded.contents) || decoded.contents == contents + "x");
    }
}

TEST(Lzo, EveryFlippedBitIsAnErrorOrHarmless) {
    const std::string contents = sample("text", 200) + std::string(300, 'x') + sample("random", 40);
    const std::string whole = encode(contents);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            std::string damaged = whole;
            damaged[i] = static_cast<char>(damaged[i] ^ (1 << bit));
            const Decoded decoded = decodeWith("lzo", damaged);
            if (decoded.error.empty()) {
                ASSERT_EQ(decoded.contents, contents) << i << " " << bit;
            }
        }
    }
}

// --- The command ----------------------------------------------------------------------------------------------------

class LzoFiles : public Workspace {
  protected:
    void setModificationTime(const std::string& name, time_t seconds) const {
        const timespec times[2] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, path(name).c_str(), times, 0), 0);
    }

    time_t modificationTime(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(stat(path(name).c_str(), &status), 0) << name;
        return status.st_mtim.tv_sec;
    }
};

TEST_F(LzoFiles, NameAndTimeAreStoredAndRestored) {
    write("notes", "hello");
    ASSERT_EQ(chmod(path("notes").c_str(), 0600), 0);
    setModificationTime("notes", 1'234'567'890);
    ASSERT_EQ(ozrz({"-F", "lzo", "--rm", "notes"}).exitCode, 0);
    EXPECT_EQ(
        read("notes.lzo"),
        header({.flags = kAdlerOfContent | 0x03000000, .mtime = 1'234'567'890, .mode = 0100600, .name = "notes"}) +
            block("hello", "hello") + kEnd);
    std::filesystem::rename(path("notes.lzo"), path("other.lzo"));
    setModificationTime("other.lzo", 1'000'000'000);
    const Result listed = ozrz({"-lv", "other.lzo"});
    EXPECT_THAT(listed.out, ContainsRegex("lzo +[0-9]+ +5 +[0-9.]+ +adler32 +other.lzo\n"));
    EXPECT_THAT(listed.out, HasSubstr("LZO1X-1, level 5, \"notes\" of 2009-02-13 23:31:30 UTC\n"));
    ASSERT_EQ(ozrz({"-dN", "other.lzo"}).exitCode, 0);
    EXPECT_EQ(read("notes"), "hello");
    EXPECT_EQ(modificationTime("notes"), 1'234'567'890);

    ASSERT_EQ(ozrz({"-F", "lzo", "-n", "notes"}).exitCode, 0);
    EXPECT_EQ(read("notes.lzo"), header({.flags = kAdlerOfContent | 0x03000000}) + block("hello", "hello") + kEnd);
    const std::string longName(255, 'n');
    EXPECT_EQ(encodeWith("lzo", "", {.source = {.name = longName}}).size(), encode("").size() + 255);
    EXPECT_EQ(encodeWith("lzo", "", {.source = {.name = longName + "n"}}).size(), encode("").size());
}

TEST_F(LzoFiles, ChecksAreThoseAskedFor) {
    const std::string contents = sample("text", 1000);
    write("a", contents);
    const auto flagsOf = [&](const std::vector<std::string>& options) {
        std::vector<std::string> arguments{"-F", "lzo", "-c", "a"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const std::string file = ozrz(arguments).out;
        expectContents(contents, file);
        return file.substr(kMagic.size() + 8, 4);
    };
    EXPECT_EQ(flagsOf({}), bigEndian(0x03000000 | kAdlerOfContent, 4));
    EXPECT_EQ(flagsOf({"--check-data"}), bigEndian(0x03000000 | kAdlerOfContent | kAdlerOfData, 4));
    EXPECT_EQ(flagsOf({"--crc"}), bigEndian(0x03000000 | kCrcOfContent, 4));
    EXPECT_EQ(flagsOf({"--crc", "--check-data"}), bigEndian(0x03000000 | kCrcOfContent | kCrcOfData, 4));
}

TEST_F(LzoFiles, ListDoesNotDecode) {
    std::string file = storedMember("hello") + storedMember("world!");
    file[file.size() - 5] = 'x';
    write("a.lzo", file);
    EXPECT_EQ(ozrz({"-t", "a.lzo"}).exitCode, 1);
    const Result listed = ozrz({"-lv", "a.lzo"});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    EXPECT_THAT(listed.out, ContainsRegex("lzo +[0-9]+ +11 +[0-9.]+ +adler32 +a.lzo\n"));
    EXPECT_THAT(listed.out, HasSubstr("the first of 2 members"));
    write("b.lzo", file.substr(0, file.size() - 5));
    EXPECT_THAT(ozrz({"-l", "b.lzo"}).err, HasSubstr("b.lzo: truncated"));
}

class LzopCommand : public Workspace {
  protected:
    void SetUp() override {
        if (!haveCommand("lzop")) GTEST_SKIP() << "the lzop command is not installed";
    }

    Result lzop(std::vector<std::string> options, const std::string& input = "") const {
        options.insert(options.begin(), "lzop");
        return run(options, {.directory = path("."), .input = input});
    }
};

TEST_F(LzopCommand, ReadsWhatIsWrittenHere) {
    for (const char* kind : {"text", "mixed", "random", "zeros"}) {
        const std::string contents = sample(kind, 1'500'000);
        write("a", contents);
        for (const std::vector<std::string>& options : {std::vector<std::string>{"-T1"},
                                                        {"-1"},
                                                        {"-9", "-T4"},
                                                        {"-n"},
                                                        {"--crc"},
                                                        {"--check-data"},
                                                        {"--crc", "--check-data", "-1"}}) {
            SCOPED_TRACE(std::string(kind) + " " + ::testing::PrintToString(options));
            std::vector<std::string> arguments = options;
            arguments.insert(arguments.end(), {"-F", "lzo", "-f", "a"});
            ASSERT_EQ(ozrz(arguments).exitCode, 0);
            const Result tested = lzop({"-t", "a.lzo"});
            ASSERT_EQ(tested.exitCode, 0) << tested.err;
            ASSERT_TRUE(lzop({"-dc", "a.lzo"}).out == contents);
        }
    }
}

TEST_F(LzopCommand, EverythingItWritesIsRead) {
    for (const char* kind : {"text", "mixed", "random", "zeros"}) {
        const std::string contents = sample(kind, 800'000);
        write("a", contents);
        for (const std::vector<std::string>& options : {std::vector<std::string>{"-1"},
                                                        {"-3"},
                                                        {"-7"},
                                                        {"-9"},
                                                        {"-F"},
                                                        {"-CC"},
                                                        {"--crc32"},
                                                        {"-CC", "--crc32"},
                                                        {"-P"},
                                                        {"--filter=1"},
                                                        {"--filter=4", "-9"},
                                                        {"--filter=16"}}) {
            SCOPED_TRACE(std::string(kind) + " " + ::testing::PrintToString(options));
            std::vector<std::string> arguments = options;
            arguments.insert(arguments.end(), {"-f", "a"});
            const Result made = lzop(arguments);
            ASSERT_EQ(made.exitCode, 0) << made.err;
            for (const char* threads : {"-T1", "-T3"}) {
                const Result restored = ozrz({threads, "-dc", "a.lzo"});
                ASSERT_EQ(restored.exitCode, 0) << restored.err;
                ASSERT_TRUE(restored.out == contents);
            }
        }
    }
    EXPECT_EQ(ozrz({"-dc"}, lzop({"-c"}, "").out).out, "");
}

TEST_F(LzopCommand, AgreesAboutMembers) {
    const std::string file = encode("first ") + lzop({"-c"}, "second").out + encode("") + storedMember(" third");
    EXPECT_EQ(ozrz({"-dc"}, file).out, "first second third");
    EXPECT_EQ(lzop({"-dc"}, file).out, "first second third");
}

TEST_F(LzopCommand, ExtractsPrivateFilesAsSuch) {
    write("notes", "hello");
    ASSERT_EQ(chmod(path("notes").c_str(), 0600), 0);
    ASSERT_EQ(ozrz({"-F", "lzo", "--rm", "notes"}).exitCode, 0);
    ASSERT_EQ(chmod(path("notes.lzo").c_str(), 0644), 0);
    ASSERT_EQ(lzop({"-x", "notes.lzo"}).exitCode, 0);
    struct stat status {};
    ASSERT_EQ(stat(path("notes").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t{0100600});
}

TEST_F(LzopCommand, NamesAreRestoredBothWays) {
    write("notes", "hello");
    ASSERT_EQ(ozrz({"-F", "lzo", "--rm", "notes"}).exitCode, 0);
    std::filesystem::rename(path("notes.lzo"), path("other.lzo"));
    ASSERT_EQ(lzop({"-dN", "other.lzo"}).exitCode, 0);
    EXPECT_EQ(read("notes"), "hello");
    ASSERT_EQ(lzop({"-U", "-f", "-o", "third.lzo", "notes"}).exitCode, 0);
    ASSERT_EQ(ozrz({"-dN", "third.lzo"}).exitCode, 0);
    EXPECT_EQ(read("notes"), "hello");
}

}  // namespace
}  // namespace ozrz::test
