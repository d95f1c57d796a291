// gzip, zlib and raw Deflate: what the three have in common.
#include <algorithm>
#include <set>

#include "bytes.h"
#include "in_process.h"
#include "support/deflate_format.h"
#include "support/oracles.h"
#include "support/sample_data.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
namespace oracle = ozrdc::test::oracle;
namespace plain = ozrdc::test::deflate;

constexpr std::size_t kChunk = 512 * KiB;  // the encoder's

std::string textOf(const std::vector<uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

class DeflateFormats : public Workspace, public ::testing::WithParamInterface<const char*> {
  protected:
    std::string format() const { return GetParam(); }
    std::string suffix() const { return std::string(formatNamed(format()).description().suffixes.front().text); }

    std::string named(std::string name) const { return name += suffix(); }

    std::string encode(const std::string& contents, EncodeSettings settings = {}) const {
        return encodeWith(format(), contents, settings);
    }

    // Decodes with one thread and with several, which must agree.
    Decoded decode(const std::string& data) const {
        Decoded one = decodeWith(format(), data, {.threads = 1});
        const Decoded several = decodeWith(format(), data, {.threads = 3});
        EXPECT_TRUE(one.contents == several.contents);
        EXPECT_EQ(one.error, several.error);
        EXPECT_EQ(one.warnings, several.warnings);
        return one;
    }

    void expectRestored(const std::string& contents, const std::string& data) const {
        const Decoded decoded = decode(data);
        ASSERT_EQ(decoded.error, "");
        ASSERT_TRUE(decoded.warnings.empty());
        ASSERT_TRUE(decoded.contents == contents);
    }

    // The Deflate stream in a file written here without a name.
    std::string stream(const std::string& data) const {
        if (format() == "gzip") return data.substr(10, data.size() - 10 - 8);
        if (format() == "zlib") return data.substr(2, data.size() - 2 - 4);
        return data;
    }

    // A file of this format around a stream of another encoder.
    std::string around(const std::vector<uint8_t>& deflateStream, const std::string& contents) const {
        const std::string own = encode(contents);
        const std::string ownStream = stream(own);
        const std::size_t position = format() == "gzip" ? 10 : format() == "zlib" ? 2 : 0;
        return own.substr(0, position) + textOf(deflateStream) + own.substr(position + ownStream.size());
    }
};

INSTANTIATE_TEST_SUITE_P(All, DeflateFormats, ::testing::Values("gzip", "zlib", "deflate"),
                         [](const auto& parameter) { return std::string(parameter.param); });

TEST_P(DeflateFormats, RestoresEveryKindOfDataAtEveryLevel) {
    for (const ozrdc::test::SampleKind& kind : ozrdc::test::sampleKinds()) {
        const std::string contents = sample(kind.name, 150'000);
        for (int level = 1; level <= 9; ++level) {
            SCOPED_TRACE(std::string(kind.name) + " -" + std::to_string(level));
            const std::string data = encode(contents, {.level = level});
            expectRestored(contents, data);
            const auto judged = oracle::zlibInflate(bytesOf(stream(data)), contents.size());
            ASSERT_TRUE(judged && textOf(*judged) == contents);
        }
        for (int acceleration = 1; acceleration <= 3; ++acceleration) {
            SCOPED_TRACE(std::string(kind.name) + " --fast=" + std::to_string(acceleration));
            const std::string data = encode(contents, {.acceleration = acceleration});
            expectRestored(contents, data);
            const auto judged = oracle::zlibInflate(bytesOf(stream(data)), contents.size());
            ASSERT_TRUE(judged && textOf(*judged) == contents);
        }
    }
}

TEST_P(DeflateFormats, RestoresSizesAroundTheLimits) {
    const std::string contents = sample("mixed", 2 * kChunk + 300);
    for (const std::size_t middle :
         {std::size_t{0}, std::size_t{260}, 32 * KiB, std::size_t{65535}, 256 * KiB, kChunk, 2 * kChunk}) {
        const std::size_t before = std::min<std::size_t>(middle, 3);
        for (std::size_t size = middle - before; size <= middle + 5; ++size) {
            for (const int acceleration : {0, 1, 2}) {
                SCOPED_TRACE(std::to_string(size) + " " + std::to_string(acceleration));
                const std::string part = contents.substr(0, size);
                expectRestored(part, encode(part, {.level = 1, .acceleration = acceleration}));
            }
        }
    }
}

TEST_P(DeflateFormats, ReadsWhatOtherEncodersWrite) {
    for (const char* kind : {"text", "mixed", "random", "zeros", "period 40000"}) {
        for (const std::size_t size : {std::size_t{10}, std::size_t{3000}, std::size_t{300'000}}) {
            SCOPED_TRACE(std::string(kind) + " " + std::to_string(size));
            const std::string contents = sample(kind, size);
            for (const int level : {0, 1, 6, 9}) {
                for (const auto strategy : {oracle::ZlibStrategy::Default, oracle::ZlibStrategy::HuffmanOnly,
                                            oracle::ZlibStrategy::RunLengths, oracle::ZlibStrategy::Fixed}) {
                    expectRestored(contents, around(oracle::zlibDeflate(bytesOf(contents), level, strategy), contents));
                }
            }
            for (const int level : {1, 6, 12}) {
                expectRestored(contents, around(oracle::libdeflateDeflate(bytesOf(contents), level), contents));
            }
        }
    }
}

TEST_P(DeflateFormats, BytesDoNotDependOnThreads) {
    for (const char* kind : {"mixed", "random"}) {
        const std::string contents = sample(kind, 5 * kChunk + 1000);
        for (const int acceleration : {0, 1, 2}) {
            SCOPED_TRACE(std::string(kind) + " " + std::to_string(acceleration));
            const std::string one = encode(contents, {.level = 2, .acceleration = acceleration, .threads = 1});
            for (const unsigned threads : {2U, 3U, 8U}) {
                ASSERT_TRUE(encode(contents, {.level = 2, .acceleration = acceleration, .threads = threads}) == one);
            }
            expectRestored(contents, one);
        }
    }
}

TEST_P(DeflateFormats, ChunksAreOneStreamAndReachBackIntoEachOther) {
    // What repeats from chunk to chunk only is found: the period is shorter than the window, and longer than what is
    // left of a chunk.
    const std::string contents = textOf(ozrdc::test::periodicSample(2 * kChunk, 30'000, 5));
    const std::string data = encode(contents, {.level = 6});
    std::size_t end = 0;
    const std::string packed = stream(data);
    const auto restored = plain::inflateStream(bytesOf(packed), {}, &end);
    ASSERT_TRUE(restored && textOf(*restored) == contents);
    EXPECT_EQ((end + 7) / 8, packed.size());
    EXPECT_LT(packed.size(), 50'000U);
}

TEST_P(DeflateFormats, LevelsGainRatio) {
    const std::string contents = sample("text", 400'000) + sample("mixed", 400'000);
    const std::size_t fixed = encode(contents, {.acceleration = 2}).size();
    const std::size_t prepared = encode(contents, {.acceleration = 1}).size();
    const std::size_t first = encode(contents, {.level = 1}).size();
    const std::size_t middle = encode(contents, {.level = 6}).size();
    const std::size_t last = encode(contents, {.level = 9}).size();
    EXPECT_LT(prepared, fixed);
    EXPECT_LT(first, prepared);
    EXPECT_LT(middle, first);
    EXPECT_LT(last, middle);
}

// One of the three is enough: their streams are the same.
TEST(DeflateLevels, GainRatioOnRealFilesAndNeedNoMoreThanZlib) {
    const auto files = ozrdc::test::corpusFiles(300'000);
    if (files.empty()) GTEST_SKIP() << "there is no corpus";
    std::size_t before = SIZE_MAX;
    for (int level = 1; level <= 9; ++level) {
        std::size_t total = 0;
        std::size_t zlibTotal = 0;
        for (const auto& file : files) {
            total += encodeWith("deflate", textOf(file.bytes), {.level = level}).size();
            zlibTotal += oracle::zlibDeflate(file.bytes, level).size();
        }
        EXPECT_LT(total, before) << level;
        EXPECT_LT(total, zlibTotal) << level;
        before = total;
    }
}

// The types of a stream's blocks.
std::multiset<unsigned> blockTypes(const std::string& packed) {
    std::multiset<unsigned> types;
    plain::BitReader reader(bytesOf(packed));
    for (;;) {
        const auto header = plain::readHeader(reader);
        if (!header) {
            ADD_FAILURE() << "bad header";
            return types;
        }
        types.insert(header->type);
        if (header->type == 0) {
            reader.moveTo(reader.position() + 8 * header->storedSize);
        } else {
            reader.moveTo(
                plain::readSymbols(bytesOf(packed), reader.position(), header->codes, plain::UnusedSymbols::Invalid)
                    .back()
                    .end);
        }
        if (header->last) return types;
    }
}

TEST_P(DeflateFormats, BlocksAreOfTheSmallestKind) {
    EXPECT_THAT(blockTypes(stream(encode(""))), ElementsAre(1));
    EXPECT_THAT(blockTypes(stream(encode("hello"))), ElementsAre(1));
    EXPECT_THAT(blockTypes(stream(encode(sample("random", 1000)))), ElementsAre(0));
    EXPECT_THAT(blockTypes(stream(encode(sample("text", 20'000)))), Each(2));
}

TEST_P(DeflateFormats, BlocksEndWhereTheStatisticsChange) {
    const std::string random = sample("random", 100'000);
    const std::string text = sample("text", 100'000);
    const EncodeSettings settings{.level = 6};
    const std::string data = encode(text + random + text.substr(0, 50'000) + sample("random", 60'000, 2), settings);
    const std::multiset<unsigned> types = blockTypes(stream(data));
    EXPECT_GE(types.count(0), 2U) << "the random bytes are stored";
    EXPECT_GE(types.count(2), 2U) << "the text is not";
    EXPECT_LT(data.size(),
              encode(text, settings).size() + encode(text.substr(0, 50'000), settings).size() + 160'000 + 3000);
}

TEST_P(DeflateFormats, DataThatDoNotShrinkGrowByHeadersOnly) {
    for (const int acceleration : {0, 1, 2}) {
        for (const std::size_t size : {std::size_t{100}, std::size_t{65535}, std::size_t{65536}, 3 * kChunk}) {
            const std::string packed = stream(encode(sample("random", size), {.acceleration = acceleration}));
            // 5 bytes for every 65535, in every chunk.
            const std::size_t chunks = (size + kChunk - 1) / kChunk;
            EXPECT_LE(packed.size(), size + 5 * (size / 65535 + chunks)) << size << " " << acceleration;
        }
    }
}

TEST_P(DeflateFormats, EveryTruncationIsAnErrorAndWhatCameBeforeIsGood) {
    const std::string contents = sample("text", 3000) + sample("random", 300) + std::string(3000, 'x');
    const std::string whole = encode(contents);
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const Decoded decoded = decodeWith(format(), whole.substr(0, size));
        ASSERT_NE(decoded.error, "") << size;
        ASSERT_EQ(decoded.contents, contents.substr(0, decoded.contents.size())) << size;
    }
    const Decoded decoded = decodeWith(format(), whole.substr(0, whole.size() / 2));
    EXPECT_EQ(decoded.error, "truncated: the data end inside the compressed data");
    EXPECT_GT(decoded.contents.size(), 500U);
}

TEST_P(DeflateFormats, EveryFlippedBitIsAnErrorOrHarmless) {
    if (format() == "deflate") GTEST_SKIP() << "it has no check";
    const std::string contents = sample("text", 200) + std::string(300, 'x') + sample("random", 40);
    for (const int acceleration : {0, 1, 2}) {
        const std::string whole = encode(contents, {.acceleration = acceleration});
        for (std::size_t i = 0; i < whole.size(); ++i) {
            for (unsigned bit = 0; bit < 8; ++bit) {
                std::string damaged = whole;
                damaged[i] = static_cast<char>(damaged[i] ^ (1 << bit));
                const Decoded decoded = decodeWith(format(), damaged);
                if (decoded.error.empty()) {
                    ASSERT_EQ(decoded.contents, contents) << i << " " << bit;
                }
            }
        }
    }
}

TEST_P(DeflateFormats, DamagedRawStreamsNeverCrash) {
    const std::string contents = sample("mixed", 5000);
    const std::string whole = encode(contents);
    std::size_t noticed = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        std::string damaged = whole;
        damaged[i] = static_cast<char>(damaged[i] ^ 0x55);
        noticed += decodeWith(format(), damaged).error.empty() ? 0 : 1;
    }
    EXPECT_GT(noticed, 0U);
}

TEST_P(DeflateFormats, DamageIsTheSameWhateverTheThreads) {
    std::string damaged = encode(sample("text", 6 * kChunk));
    damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 0x10);
    if (format() != "deflate") {
        EXPECT_NE(decode(damaged).error, "");
    } else {
        decode(damaged);
    }
}

TEST_P(DeflateFormats, MessagesSayWhatIsWrong) {
    const auto errorOf = [&](const std::string& bits) {
        // Behind the header of a file of this format.
        const std::string whole = encode("");
        return decode(whole.substr(0, format() == "gzip" ? 10 : format() == "zlib" ? 2 : 0) + bits).error;
    };
    EXPECT_THAT(errorOf("\x07"), HasSubstr("is damaged: it is of a type that is not defined"));
    EXPECT_THAT(errorOf(std::string("\x01\x05\x00\x05\x00", 5)),
                HasSubstr("is damaged: its size and the copy of it differ"));
    EXPECT_THAT(errorOf("\xFD\xFF\xFF\xFF"), HasSubstr("is damaged: it has too many codes"));
    // A fixed block that begins with a match.
    EXPECT_THAT(errorOf(std::string("\x03\x02\x00\x00\x00", 5)), HasSubstr("a code or a distance in it cannot be"));
}

TEST_P(DeflateFormats, ForceKeepsTheIntactPart) {
    const std::string contents = sample("text", 1'000'000);
    const std::string whole = encode(contents);
    const std::string name = named("a");
    write(name, whole.substr(0, whole.size() / 2));
    for (const char* threads : {"-T1", "-T3"}) {
        Result result = ozrz({threads, "-d", name});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, StartsWith("ozrz: " + name + ": truncated: "));
        EXPECT_THAT(names(), ElementsAre(name));

        result = ozrz({threads, "-d", "-f", name});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, HasSubstr(" bytes in front of it are kept"));
        const std::string intact = read("a");
        EXPECT_EQ(intact, contents.substr(0, intact.size()));
        EXPECT_GT(intact.size(), contents.size() / 3);
        std::filesystem::remove(path("a"));

        result = ozrz({threads, "-dc", "-f", name});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, intact);
    }
    EXPECT_EQ(ozrz({"-d", "-f", "--rm", name}).exitCode, 1);
    EXPECT_THAT(names(), ElementsAre("a", name)) << "a damaged source is never removed";
}

TEST_P(DeflateFormats, ForceMakesNothingOfNothing) {
    const std::string name = named("a");
    write(name, encode(sample("text", 1000)).substr(0, 5));
    EXPECT_EQ(ozrz({"-d", "-f", "-F", format(), name}).exitCode, 1);
    EXPECT_THAT(names(), ElementsAre(name));
}

TEST_P(DeflateFormats, TrailingGarbageIsAWarning) {
    const std::string contents = sample("text", 5000);
    const std::string whole = encode(contents);
    const Decoded decoded = decode(whole + "garbage");
    EXPECT_EQ(decoded.error, "");
    EXPECT_EQ(decoded.contents, contents);
    EXPECT_THAT(decoded.warnings, ElementsAre(StartsWith("trailing garbage ignored: the bytes from " +
                                                         std::to_string(whole.size()) + " on")));
    write(named("a"), whole + "garbage");
    EXPECT_EQ(ozrz({"-t", named("a")}).exitCode, 2);
}

TEST_P(DeflateFormats, FilesComeAndGo) {
    const std::string contents = sample("mixed", 100'000);
    write("notes", contents);
    ASSERT_EQ(ozrz({"-F", format(), "--rm", "notes"}).exitCode, 0);
    EXPECT_THAT(names(), ElementsAre(named("notes")));
    const Result listed = ozrz({"-lv", named("notes")});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    EXPECT_THAT(listed.out,
                ::testing::ContainsRegex(format() + " +" + std::to_string(read(named("notes")).size()) + " +100000 "));
    EXPECT_EQ(ozrz({"-t", named("notes")}).exitCode, 0);
    ASSERT_EQ(ozrz({"-d", "--rm", named("notes")}).exitCode, 0);
    EXPECT_THAT(names(), ElementsAre("notes"));
    EXPECT_EQ(read("notes"), contents);
}

TEST_P(DeflateFormats, SuffixOfTheTargetTellsTheFormat) {
    write("a", "hello");
    ASSERT_EQ(ozrz({"a", "-o", named("b")}).exitCode, 0);
    expectRestored("hello", read(named("b")));
}

TEST_P(DeflateFormats, DictionariesWorkBothWays) {
    const std::string dictionary = sample("text", 50'000, 7);
    const std::string contents = dictionary.substr(30'000, 3000);
    write("dictionary", dictionary);
    write("a", contents);
    const std::string name = named("a");
    const Result packed = ozrz({"-F", format(), "-D", "dictionary", "a"});
    if (format() == "gzip") {
        EXPECT_EQ(packed.exitCode, 1);
        EXPECT_THAT(packed.err, HasSubstr("dictionary"));
        return;
    }
    ASSERT_EQ(packed.exitCode, 0) << packed.err;
    EXPECT_LT(read(name).size(), 100U) << "all of it is in the dictionary";
    for (const char* threads : {"-T1", "-T3"}) {
        EXPECT_EQ(ozrz({threads, "-dc", "-D", "dictionary", name}).out, contents);
    }
    EXPECT_EQ(ozrz({"-t", name}).exitCode, 1) << "without it";
}

TEST_P(DeflateFormats, DictionariesOfAllSizesWork) {
    if (format() == "gzip") GTEST_SKIP() << "gzip files have none";
    const std::string text = sample("text", 1'200'000, 7);
    for (const std::size_t size : {std::size_t{1}, std::size_t{3}, std::size_t{4}, std::size_t{100}, 32 * KiB - 1,
                                   32 * KiB, 32 * KiB + 1, 100 * KiB}) {
        for (const int acceleration : {0, 1, 2}) {
            SCOPED_TRACE(std::to_string(size) + " " + std::to_string(acceleration));
            const std::string dictionary = text.substr(1'200'000 - size);
            const Bytes view = bytesOf(dictionary);
            const std::string contents = text.substr(600'000, acceleration == 0 ? 1000 : 600'000);
            const std::string data = encode(contents, {.level = 4, .acceleration = acceleration, .dictionary = view});
            for (const unsigned threads : {1U, 3U}) {
                const Decoded decoded = decodeWith(format(), data, {.threads = threads, .dictionary = view});
                ASSERT_EQ(decoded.error, "");
                ASSERT_TRUE(decoded.contents == contents);
            }
            const std::string packed = format() == "zlib" ? data.substr(6, data.size() - 10) : data;
            const auto judged = oracle::zlibInflate(bytesOf(packed), contents.size(), view);
            ASSERT_TRUE(judged && textOf(*judged) == contents);
        }
    }
}

}  // namespace
}  // namespace ozrz::test
