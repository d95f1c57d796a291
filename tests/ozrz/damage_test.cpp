// Damaged files: whatever has happened to a file, it is noticed, told in plain words, and nothing is made of it.
#include <algorithm>

#include "bytes.h"
#include "error.h"
#include "formats/registry.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// A small file with matches and literals of both natures.
std::string smallContents() { return sample("text", 120) + std::string(300, 'x') + sample("random", 40); }

// Decodes in this process. True if it ended with an error that a person is told of.
bool fails(const std::string& data, std::string& restored) {
    static const Registry registry;
    MemorySource source({reinterpret_cast<const uint8_t*>(data.data()), data.size()});
    Buffer buffer;
    MemorySink sink(buffer);
    try {
        registry.standard().decode(source, sink, {});
    } catch (const DataError& error) {
        EXPECT_STRNE(error.what(), "");
        return true;
    }
    restored.assign(sink.bytes().begin(), sink.bytes().end());
    return false;
}

class Damage : public Workspace {};

TEST_F(Damage, EveryTruncationIsAnError) {
    const std::string whole = compressed(smallContents(), {"-B4", "--block-checksum"});
    for (std::size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        write("a.lz4", whole.substr(0, size));
        const Result result = ozrz({"-d", "a.lz4"});
        ASSERT_EQ(result.exitCode, 1);
        ASSERT_THAT(result.err, StartsWith("ozrz: a.lz4: "));
        ASSERT_THAT(names(), ElementsAre("a.lz4"));
    }
}

TEST_F(Damage, EveryFlippedBitIsAnErrorOrHarmless) {
    const std::string contents = smallContents();
    const std::string whole = compressed(contents);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const unsigned bit = static_cast<unsigned>(i % 8);  // every byte by the command; every value below
        SCOPED_TRACE("byte " + std::to_string(i) + " bit " + std::to_string(bit));
        std::string damaged = whole;
        damaged[i] = static_cast<char>(damaged[i] ^ (1 << bit));
        const Result result = ozrz({"-dc"}, damaged);
        ASSERT_EQ(result.signal, 0);
        if (result.exitCode != 1) {
            ASSERT_EQ(result.out, contents);
        } else {
            ASSERT_THAT(result.err, StartsWith("ozrz: standard input: "));
        }
    }
}

TEST_F(Damage, EveryValueOfEveryByteIsAnErrorOrHarmless) {
    const std::string contents = smallContents();
    write("a", contents);
    for (const char* option : {"--block-checksum", "--content-size", "-1"}) {
        SCOPED_TRACE(option);
        const std::string whole = ozrz({"-B4", option, "-c", "a"}).out;
        std::size_t harmless = 0;
        for (std::size_t i = 0; i < whole.size(); ++i) {
            for (unsigned value = 0; value < 256; ++value) {
                std::string damaged = whole;
                damaged[i] = static_cast<char>(value);
                std::string restored;
                if (fails(damaged, restored)) continue;
                ASSERT_EQ(restored, contents) << "byte " << i << " value " << value;
                ++harmless;
            }
        }
        // The unchanged file, once for each byte, and few others: some distances inside a run come to the same.
        EXPECT_GE(harmless, whole.size());
        EXPECT_LE(harmless, 2 * whole.size());
    }
}

TEST_F(Damage, MessageNamesFileBlockAndPosition) {
    const std::string contents = sample("random", 3 * 65536);
    std::string damaged = compressed(contents, {"-B4", "--block-checksum"});
    // Stored blocks of 64 KiB with their headers and checksums behind a header of 7 bytes.
    const std::size_t third = 7 + 2 * (4 + 65536 + 4);
    damaged[third + 4 + 100] = static_cast<char>(damaged[third + 4 + 100] ^ 1);
    write("a.lz4", damaged);
    for (const char* threads : {"-T1", "-T4"}) {
        const Result result = ozrz({threads, "-d", "a.lz4"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, StartsWith("ozrz: a.lz4: block 3 at byte " + std::to_string(third) +
                                           " is damaged: its checksum is 0x"));
        EXPECT_THAT(names(), ElementsAre("a.lz4"));
    }
}

TEST_F(Damage, TheFirstDamagedBlockIsTheOneReportedWhateverTheThreads) {
    const std::string contents = sample("text", 40 * 65536);
    std::string damaged = compressed(contents, {"-B4", "--block-checksum"});
    for (const unsigned part : {2U, 3U, 4U, 5U, 6U}) {
        char& byte = damaged[damaged.size() * part / 8];
        byte = static_cast<char>(byte ^ 0x10);
    }
    const Result one = ozrz({"-T1", "-dc"}, damaged);
    ASSERT_EQ(one.exitCode, 1);
    EXPECT_THAT(one.err, HasSubstr("is damaged"));
    for (int repetition = 0; repetition < 5; ++repetition) {
        const Result several = ozrz({"-T4", "-dc"}, damaged);
        EXPECT_EQ(several.exitCode, 1);
        EXPECT_EQ(several.err, one.err);
        EXPECT_TRUE(several.out == one.out) << "what comes before the damage is written";
    }
    EXPECT_EQ(one.out, contents.substr(0, one.out.size()));
    EXPECT_GT(one.out.size(), 0U);
}

TEST_F(Damage, TrailingGarbageIsAWarning) {
    write("a.lz4", compressed("hello") + "garbage");
    Result result = ozrz({"-d", "a.lz4"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("ozrz: a.lz4: trailing garbage ignored"));
    EXPECT_EQ(read("a"), "hello");
    result = ozrz({"-tq", "a.lz4"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "");
}

TEST_F(Damage, EmptyFileIsAnError) {
    write("a.lz4", "");
    const Result result = ozrz({"-d", "a.lz4"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("a.lz4: the file is empty"));
    EXPECT_THAT(names(), ElementsAre("a.lz4"));
}

TEST_F(Damage, OneBadFileDoesNotStopTheOthers) {
    write("a.lz4", compressed("hello").substr(0, 10));
    write("b.lz4", compressed("world"));
    const Result result = ozrz({"-d", "a.lz4", "b.lz4"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(read("b"), "world");
    EXPECT_THAT(names(), ElementsAre("a.lz4", "b", "b.lz4"));
}

}  // namespace
}  // namespace ozrz::test
