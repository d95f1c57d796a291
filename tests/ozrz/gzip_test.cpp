// gzip files: header fields, members, what -N and -n do, and the gzip and pigz commands.
#include <fcntl.h>
#include <sys/stat.h>
#include <zlib.h>

#include "frame_builder.h"
#include "in_process.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr unsigned kHeaderCheck = 2;
constexpr unsigned kExtra = 4;
constexpr unsigned kName = 8;
constexpr unsigned kComment = 16;

uint32_t crcOf(const std::string& bytes) {
    return static_cast<uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
}

// The header up to the optional fields, and those.
std::string header(unsigned flags, const std::string& fields = "", uint32_t mtime = 0) {
    return std::string("\x1F\x8B\x08", 3) + static_cast<char>(flags) + littleEndian(mtime, 4) + '\0' + '\3' + fields;
}

// The same with a check of it all.
std::string checkedHeader(unsigned flags, const std::string& fields = "") {
    const std::string all = header(flags | kHeaderCheck, fields);
    return all + littleEndian(crcOf(all) & 0xFFFF, 2);
}

// A stored block, check and size.
std::string body(const std::string& contents) {
    const auto size = static_cast<uint32_t>(contents.size());
    return '\1' + littleEndian(size, 2) + littleEndian(~size & 0xFFFF, 2) + contents +
           littleEndian(crcOf(contents), 4) + littleEndian(size, 4);
}

std::string member(const std::string& contents) { return header(0) + body(contents); }

void expectContents(const std::string& contents, const std::string& file) {
    for (const unsigned threads : {1U, 3U}) {
        const Decoded decoded = decodeWith("gzip", file, {.threads = threads});
        EXPECT_EQ(decoded.error, "");
        EXPECT_TRUE(decoded.warnings.empty());
        EXPECT_TRUE(decoded.contents == contents);
    }
}

void expectError(const std::string& file, const std::string& message) {
    EXPECT_THAT(decodeWith("gzip", file).error, HasSubstr(message));
}

class Gzip : public Workspace {
  protected:
    time_t modificationTime(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(stat(path(name).c_str(), &status), 0) << name;
        return status.st_mtim.tv_sec;
    }

    void setModificationTime(const std::string& name, time_t seconds) const {
        const timespec times[2] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, path(name).c_str(), times, 0), 0);
    }
};

TEST_F(Gzip, HeaderFieldsOfAllKindsAreRead) {
    const std::string extra = littleEndian(5, 2) + "extra";
    const std::string name("name\0", 5);
    const std::string comment("a comment\0", 10);
    for (unsigned flags = 0; flags < 32; ++flags) {
        SCOPED_TRACE(flags);
        std::string fields;
        if ((flags & kExtra) != 0) fields += extra;
        if ((flags & kName) != 0) fields += name;
        if ((flags & kComment) != 0) fields += comment;
        const std::string start = (flags & kHeaderCheck) != 0 ? checkedHeader(flags, fields) : header(flags, fields);
        expectContents("hello", start + body("hello"));
        for (std::size_t size = 2; size < start.size(); ++size) {
            expectError(start.substr(0, size), "truncated: the data end inside a gzip header");
        }
    }
}

TEST_F(Gzip, LongHeaderFieldsAreRead) {
    const std::string text = std::string(100'000, 'n') + '\0';
    expectContents("hello", checkedHeader(kExtra | kName | kComment,
                                          littleEndian(65535, 2) + std::string(65535, 'x') + text + text) +
                                body("hello"));
}

TEST_F(Gzip, WrongHeadersAreErrors) {
    const std::string good = checkedHeader(kName, std::string("name\0", 5));
    for (std::size_t i = 4; i < good.size(); ++i) {
        std::string bad = good;
        bad[i] = static_cast<char>(bad[i] ^ 1);
        expectError(bad + body("hello"), "");
        EXPECT_NE(decodeWith("gzip", bad + body("hello")).error, "") << i;
    }
    expectError(std::string("\x1F\x8B\x07\0\0\0\0\0\0\3", 10), "names the unknown compression method 7");
    for (const unsigned flag : {0x20U, 0x40U, 0x80U}) expectError(header(flag) + body(""), "reserved flags");
    expectError("plain text", "not a gzip file");
}

TEST_F(Gzip, WrongChecksAndSizesAreErrors) {
    const std::string file = member("hello");
    for (std::size_t i = file.size() - 8; i < file.size(); ++i) {
        std::string bad = file;
        bad[i] = static_cast<char>(bad[i] ^ 1);
        expectError(bad, i < file.size() - 4 ? "the content is damaged: its CRC-32 is 0x"
                                             : "the content is damaged: it has 5 bytes, but should have ");
        EXPECT_EQ(decodeWith("gzip", bad).contents, "hello");
        expectError(member("first") + bad, "the content of member 2 is damaged");
    }
    for (std::size_t size = file.size() - 8; size < file.size(); ++size) {
        expectError(file.substr(0, size), "truncated: the data end inside the checksum and size of the content");
    }
}

TEST_F(Gzip, MembersAreOneFile) {
    expectContents("first second ", member("first ") + member("") + member("second "));
    std::string contents;
    std::string file;
    for (int i = 0; i < 10'000; ++i) {
        const std::string part(static_cast<std::size_t>(i % 100), static_cast<char>('a' + i % 26));
        contents += part;
        file += member(part);
    }
    expectContents(contents, file);
    // Members reach back no further than their own beginning: the fixed block begins with a match of distance 1.
    expectError(member("first") + header(0) + std::string("\x03\x02\x00\x00\x00", 5), "cannot be");
}

TEST_F(Gzip, LargeMembersAreOneFile) {
    const std::string a = sample("text", 700'000);
    const std::string b = sample("mixed", 900'000);
    expectContents(a + b + a, encodeWith("gzip", a, {}) + encodeWith("gzip", b, {}) + encodeWith("gzip", a, {}));
}

TEST_F(Gzip, ZerosBehindTheEndAreNoGarbage) {
    for (const std::size_t zeros : {std::size_t{1}, std::size_t{2}, std::size_t{511}, std::size_t{300'000}})
        expectContents("hello", member("hello") + std::string(zeros, '\0'));
    const std::string file = member("hello") + std::string(600, '\0') + "x";
    const Decoded decoded = decodeWith("gzip", file);
    EXPECT_EQ(decoded.contents, "hello");
    EXPECT_THAT(decoded.warnings, ElementsAre(StartsWith("trailing garbage ignored")));
}

TEST_F(Gzip, ADamagedSecondMemberIsNoGarbage) {
    expectError(member("hello") + std::string("\x1F\x8B\x07", 3), "unknown compression method");
    expectError(member("hello") + std::string("\x1F\x8B", 2), "truncated: the data end inside a gzip header");
}

TEST_F(Gzip, NameAndTimeAreStored) {
    write("notes", "hello");
    setModificationTime("notes", 1'234'567'890);
    ASSERT_EQ(ozrz({"-F", "gzip", "notes"}).exitCode, 0);
    const std::string file = read("notes.gz");
    EXPECT_EQ(file.substr(0, 16), header(kName, std::string("notes\0", 6), 1'234'567'890));
    const Result listed = ozrz({"-lv", "notes.gz"});
    EXPECT_THAT(listed.out, HasSubstr("member \"notes\" of 2009-02-13 23:31:30 UTC\n"));

    ASSERT_EQ(ozrz({"-F", "gzip", "-nf", "notes"}).exitCode, 0);
    EXPECT_EQ(read("notes.gz").substr(0, 10), header(0));
    EXPECT_EQ(ozrz({"-F", "gzip", "-c"}, std::string("hello")).out.substr(0, 10), header(0));
}

TEST_F(Gzip, TimesThatDoNotFitAreNotStored) {
    write("notes", "hello");
    for (const time_t time : {time_t{-5}, time_t{1} << 32}) {
        setModificationTime("notes", time);
        ASSERT_EQ(ozrz({"-F", "gzip", "-f", "notes"}).exitCode, 0);
        EXPECT_EQ(read("notes.gz").substr(4, 4), littleEndian(0, 4));
    }
}

TEST_F(Gzip, NameAndTimeAreRestoredWhenAskedFor) {
    write("file.gz", header(kName, std::string("original.txt\0", 13), 1'234'567'890) + body("hello"));
    setModificationTime("file.gz", 1'000'000'000);
    ASSERT_EQ(ozrz({"-d", "file.gz"}).exitCode, 0);
    EXPECT_EQ(modificationTime("file"), 1'000'000'000);
    ASSERT_EQ(ozrz({"-dN", "file.gz"}).exitCode, 0);
    EXPECT_EQ(read("original.txt"), "hello");
    EXPECT_EQ(modificationTime("original.txt"), 1'234'567'890);
    // -o names another target; the time is restored all the same.
    ASSERT_EQ(ozrz({"-dN", "-o", "other", "file.gz"}).exitCode, 0);
    EXPECT_EQ(modificationTime("other"), 1'234'567'890);
    EXPECT_THAT(names(), ElementsAre("file", "file.gz", "original.txt", "other"));
}

TEST_F(Gzip, TarArchivesGetTheirSuffixBack) {
    write("a.tgz", member("hello"));
    ASSERT_EQ(ozrz({"-d", "a.tgz"}).exitCode, 0);
    EXPECT_THAT(names(), ElementsAre("a.tar", "a.tgz"));
}

TEST_F(Gzip, RestoredNamesStayInTheDirectory) {
    std::filesystem::create_directory(path("inside"));
    for (const char* name : {"../escape", "/tmp/../escape", "a/b/escape"}) {
        write("inside/file.gz", header(kName, name + std::string(1, '\0')) + body("hello"));
        ASSERT_EQ(ozrz({"-dNf", "inside/file.gz"}).exitCode, 0);
        EXPECT_TRUE(exists("inside/escape"));
        EXPECT_THAT(names(), ElementsAre("inside"));
    }
    for (const char* name : {"", ".", "..", "../", "x/.."}) {
        std::filesystem::remove(path("inside/file"));
        write("inside/file.gz", header(kName, name + std::string(1, '\0')) + body("hello"));
        ASSERT_EQ(ozrz({"-dNf", "inside/file.gz"}).exitCode, 0);
        EXPECT_TRUE(exists("inside/file")) << name;
        EXPECT_THAT(names(), ElementsAre("inside"));
    }
}

TEST_F(Gzip, ListTellsHeadersAndMembers) {
    write("a.gz", checkedHeader(kExtra | kName | kComment, littleEndian(3, 2) + "abc" + std::string("n\x1B\0c\0", 5)) +
                      body("hello") + member("world!"));
    const Result result = ozrz({"-lv", "a.gz"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, ContainsRegex("gzip +[0-9]+ +11 +[0-9.]+ +crc32 +a.gz\n"));
    EXPECT_THAT(result.out, HasSubstr("member \"n?\", comment \"c\", extra field of 3 bytes, header checked, the first "
                                      "of 2 members"));
}

TEST_F(Gzip, ListTellsTheSubfieldsOfAnExtraField) {
    const std::string subfields = "BC" + littleEndian(2, 2) + "xy" + "A\n" + littleEndian(0, 2);
    write("a.gz", header(kExtra, littleEndian(10, 2) + subfields) + body("hello"));
    EXPECT_THAT(ozrz({"-lv", "a.gz"}).out, HasSubstr("extra field of 10 bytes (BC: 2 bytes, A?: 0 bytes)"));
    // A length that runs past the end: the field is not made of subfields.
    write("a.gz", header(kExtra, littleEndian(6, 2) + "BC" + littleEndian(3, 2) + "xy") + body("hello"));
    EXPECT_THAT(ozrz({"-lv", "a.gz"}).out, HasSubstr("member, extra field of 6 bytes\n"));
}

TEST_F(Gzip, LevelIsToldInTheHeader) {
    EXPECT_EQ(encodeWith("gzip", "hello", {.level = 1})[8], 4);
    EXPECT_EQ(encodeWith("gzip", "hello", {.level = 6})[8], 0);
    EXPECT_EQ(encodeWith("gzip", "hello", {.level = 9})[8], 2);
    EXPECT_EQ(encodeWith("gzip", "hello", {.level = 9, .acceleration = 1})[8], 4);
}

// --- The commands of others -----------------------------------------------------------------------------------------

class GzipCommand : public Workspace, public ::testing::WithParamInterface<const char*> {
  protected:
    void SetUp() override {
        if (!haveCommand(GetParam())) GTEST_SKIP() << GetParam() << " is not installed";
    }

    Result other(std::vector<std::string> options, const std::string& input = "") const {
        options.insert(options.begin(), GetParam());
        return run(options, {.directory = path("."), .input = input});
    }
};

INSTANTIATE_TEST_SUITE_P(All, GzipCommand, ::testing::Values("gzip", "pigz"),
                         [](const auto& parameter) { return std::string(parameter.param); });

TEST_P(GzipCommand, ReadsWhatIsWrittenHere) {
    for (const char* kind : {"text", "mixed", "random", "zeros"}) {
        const std::string contents = sample(kind, 1'500'000);
        write("a", contents);
        for (const char* option : {"-1", "-4", "-9", "--fast", "--fast=2"}) {
            for (const char* threads : {"-T1", "-T4"}) {
                SCOPED_TRACE(std::string(kind) + " " + option + " " + threads);
                ASSERT_EQ(ozrz({"-F", "gzip", "-f", option, threads, "a"}).exitCode, 0);
                const Result tested = other({"-t", "a.gz"});
                ASSERT_EQ(tested.exitCode, 0) << tested.err;
                ASSERT_TRUE(other({"-dc", "a.gz"}).out == contents);
            }
        }
    }
}

TEST_P(GzipCommand, EverythingItWritesIsRead) {
    for (const char* kind : {"text", "mixed", "random", "zeros"}) {
        const std::string contents = sample(kind, 600'000);
        write("a", contents);
        std::vector<std::vector<std::string>> settings{{"-1"}, {"-6"}, {"-9"}, {"-n"}};
        if (GetParam() == std::string("pigz")) {
            settings.insert(settings.end(),
                            {{"-p4", "-b128"}, {"-p2", "-i"}, {"-0"}, {"-H"}, {"-U"}, {"-R"}, {"-C", "a comment"}});
        } else {
            settings.push_back({"--rsyncable"});
        }
        for (std::vector<std::string> options : settings) {
            SCOPED_TRACE(std::string(kind) + " " + ::testing::PrintToString(options));
            options.insert(options.end(), {"-kf", "a"});
            const Result packed = other(options);
            ASSERT_EQ(packed.exitCode, 0) << packed.err;
            for (const char* threads : {"-T1", "-T3"}) {
                const Result restored = ozrz({threads, "-dc", "a.gz"});
                ASSERT_EQ(restored.exitCode, 0) << restored.err;
                ASSERT_TRUE(restored.out == contents);
            }
        }
    }
}

TEST_P(GzipCommand, AgreesAboutMembersAndPadding) {
    const std::string here = encodeWith("gzip", "first ", {});
    const std::string there = other({"-c"}, "second").out;
    ASSERT_FALSE(there.empty());
    for (const std::string& file : {here + there, there + here, here + there + std::string(500, '\0')}) {
        const Result restored = ozrz({"-dc"}, file);
        const Result judged = other({"-dc"}, file);
        EXPECT_EQ(restored.exitCode, 0) << restored.err;
        EXPECT_EQ(restored.out, judged.out);
    }
    EXPECT_EQ(ozrz({"-dc"}, here + "garbage").out, "first ");
    EXPECT_EQ(other({"-dc"}, here + "garbage").out, "first ");
}

TEST_P(GzipCommand, ReadsTheNameStoredHere) {
    write("notes", "hello");
    ASSERT_EQ(ozrz({"-F", "gzip", "--rm", "notes"}).exitCode, 0);
    std::filesystem::rename(path("notes.gz"), path("other.gz"));
    ASSERT_EQ(other({"-dN", "other.gz"}).exitCode, 0);
    EXPECT_EQ(read("notes"), "hello");
}

TEST_P(GzipCommand, ItsNameIsRestoredHere) {
    write("notes", "hello");
    ASSERT_EQ(other({"notes"}).exitCode, 0);
    std::filesystem::rename(path("notes.gz"), path("other.gz"));
    ASSERT_EQ(ozrz({"-dN", "other.gz"}).exitCode, 0);
    EXPECT_EQ(read("notes"), "hello");
}

}  // namespace
}  // namespace ozrz::test
