// zlib streams: headers, dictionaries, checks, and Python's zlib where it is installed.
#include <zlib.h>

#include "in_process.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// A stream as zlib writes it.
std::string zlibStream(const std::string& contents, int level, int windowBits, const std::string& dictionary = "") {
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, level, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY), Z_OK);
    if (!dictionary.empty()) {
        deflateSetDictionary(&stream, reinterpret_cast<const Bytef*>(dictionary.data()),
                             static_cast<uInt>(dictionary.size()));
    }
    std::string out(deflateBound(&stream, static_cast<uLong>(contents.size())) + 100, '\0');
    std::string in = contents;
    stream.next_in = reinterpret_cast<Bytef*>(in.data());
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(::deflate(&stream, Z_FINISH), Z_STREAM_END);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

// What zlib makes of a stream; empty if it refuses it.
std::string zlibContents(std::string data, std::size_t size, const std::string& dictionary = "") {
    z_stream stream{};
    EXPECT_EQ(inflateInit(&stream), Z_OK);
    std::string out(size, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(data.data());
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    int result = inflate(&stream, Z_FINISH);
    if (result == Z_NEED_DICT) {
        EXPECT_EQ(inflateSetDictionary(&stream, reinterpret_cast<const Bytef*>(dictionary.data()),
                                       static_cast<uInt>(dictionary.size())),
                  Z_OK);
        result = inflate(&stream, Z_FINISH);
    }
    EXPECT_EQ(stream.avail_in, 0U);
    inflateEnd(&stream);
    return result == Z_STREAM_END ? out : "";
}

class Zlib : public Workspace {};

TEST_F(Zlib, StreamsOfAllWindowsAndLevelsAreRead) {
    for (const char* kind : {"text", "mixed", "random"}) {
        const std::string contents = sample(kind, 300'000);
        for (int windowBits = 9; windowBits <= 15; ++windowBits) {
            for (const int level : {0, 1, 6, 9}) {
                SCOPED_TRACE(std::string(kind) + " " + std::to_string(windowBits) + " " + std::to_string(level));
                const Decoded decoded = decodeWith("zlib", zlibStream(contents, level, windowBits));
                ASSERT_EQ(decoded.error, "");
                ASSERT_TRUE(decoded.contents == contents);
            }
        }
    }
}

TEST_F(Zlib, ReadsWhatIsWrittenHere) {
    for (const char* kind : {"text", "mixed", "random"}) {
        const std::string contents = sample(kind, 1'200'000);
        for (const int level : {1, 5, 6, 9}) {
            ASSERT_TRUE(zlibContents(encodeWith("zlib", contents, {.level = level}), contents.size()) == contents);
        }
        const std::string dictionary = sample(kind, 50'000, 3);
        const EncodeSettings settings{.level = 6, .dictionary = bytesOf(dictionary)};
        ASSERT_TRUE(zlibContents(encodeWith("zlib", contents, settings), contents.size(), dictionary) == contents);
    }
}

TEST_F(Zlib, HeadersAreThoseOfZlib) {
    for (const int level : {1, 2, 6, 9}) {
        EXPECT_EQ(encodeWith("zlib", "hello", {.level = level}).substr(0, 2),
                  zlibStream("hello", level, 15).substr(0, 2));
    }
    const std::string dictionary = "a dictionary";
    EXPECT_EQ(encodeWith("zlib", "hello", {.level = 6, .dictionary = bytesOf(dictionary)}).substr(0, 6),
              zlibStream("hello", 6, 15, dictionary).substr(0, 6));
}

TEST_F(Zlib, DictionariesAreKnownByTheirNumber) {
    const std::string dictionary = sample("text", 5000);
    const std::string contents = dictionary.substr(1000, 2000);
    write("a.zz", zlibStream(contents, 6, 15, dictionary));
    write("dictionary", dictionary);
    write("wrong", dictionary + "x");
    EXPECT_EQ(ozrz({"-dc", "-D", "dictionary", "a.zz"}).out, contents);
    Result result = ozrz({"-dc", "a.zz"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, ContainsRegex("a.zz: it needs the dictionary with the Adler-32 0x[0-9a-f]+: give it"));
    result = ozrz({"-dc", "-D", "wrong", "a.zz"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr(", but that of -D has 0x"));
    // A stream that needs none is not harmed by one.
    write("b.zz", encodeWith("zlib", contents, {}));
    EXPECT_EQ(ozrz({"-dc", "-D", "dictionary", "b.zz"}).out, contents);
    EXPECT_THAT(ozrz({"-lv", "-D", "dictionary", "a.zz"}).out, ContainsRegex("stream, dictionary 0x[0-9a-f]+\n"));
}

TEST_F(Zlib, StreamsBehindEachOtherAreOneFile) {
    const std::string dictionary = sample("text", 5000);
    const std::string first = sample("text", 300'000, 2);
    const std::string second = dictionary.substr(0, 3000);
    const std::string with = zlibStream(second, 6, 15, dictionary);
    const std::string without = encodeWith("zlib", first, {});
    for (const unsigned threads : {1U, 3U}) {
        const DecodeSettings settings{.threads = threads, .dictionary = bytesOf(dictionary)};
        EXPECT_TRUE(decodeWith("zlib", without + with + with + without, settings).contents ==
                    first + second + second + first);
    }
    // What came before is out of a stream's reach.
    const std::string matchAtTheStart("\x78\x9C\x03\x02\x00\x00\x00", 7);
    EXPECT_THAT(decodeWith("zlib", without + matchAtTheStart).error, HasSubstr("cannot be"));
}

TEST_F(Zlib, WrongHeadersAndChecksAreErrors) {
    EXPECT_EQ(decodeWith("zlib", "plain text").error, "not a zlib file");
    EXPECT_EQ(decodeWith("zlib", "x").error, "not a zlib file");
    std::string stream = encodeWith("zlib", "hello", {});
    EXPECT_EQ(decodeWith("zlib", stream.substr(0, stream.size() - 1)).error,
              "truncated: the data end inside the checksum of the content");
    stream.back() = static_cast<char>(stream.back() ^ 1);
    EXPECT_THAT(decodeWith("zlib", stream).error, StartsWith("the content is damaged: its Adler-32 is 0x"));
}

TEST_F(Zlib, IsKnownByItsHeaderButNotMistakenForText) {
    write("strange", encodeWith("zlib", "hello", {}));
    EXPECT_EQ(ozrz({"-dc", "strange"}).out, "hello");
    for (const char* text : {"x marks the spot", "x? y!", "hello", "8 days"}) {
        write("text", text);
        EXPECT_THAT(ozrz({"-dc", "text"}).err, HasSubstr("is in no format that is known here")) << text;
    }
}

TEST_F(Zlib, PythonAgrees) {
    if (!haveCommand("python3")) GTEST_SKIP() << "python3 is not installed";
    const std::string contents = sample("mixed", 700'000);
    const Result read = run({"python3", "-c",
                             "import sys, zlib\n"
                             "data = zlib.decompress(sys.stdin.buffer.read())\n"
                             "sys.stdout.buffer.write(data)"},
                            {.directory = {}, .input = encodeWith("zlib", contents, {})});
    EXPECT_EQ(read.exitCode, 0) << read.err;
    EXPECT_TRUE(read.out == contents);
    const Result written = run({"python3", "-c",
                                "import sys, zlib\n"
                                "sys.stdout.buffer.write(zlib.compress(sys.stdin.buffer.read(), 9))"},
                               {.directory = {}, .input = contents});
    EXPECT_TRUE(decodeWith("zlib", written.out).contents == contents);
}

}  // namespace
}  // namespace ozrz::test
