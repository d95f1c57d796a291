// Volumes of floats: libzfp writes and reads the same files, and what the command tells of the errors is true.
#include <zfp.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>

#include "in_process.h"
#include "support/field_samples.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ozrdc::test::Field;
using ozrdc::test::fieldKind;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string bytesOfField(const Field& field) {
    return {reinterpret_cast<const char*>(field.values.data()), field.values.size() * sizeof(float)};
}

std::vector<float> floatsOf(const std::string& bytes) {
    std::vector<float> values(bytes.size() / sizeof(float));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(float));
    return values;
}

std::string dimsOf(const Field& field) {
    return std::to_string(field.nx) + "," + std::to_string(field.ny) + "," + std::to_string(field.nz);
}

// How the peer is told what to keep, and how the command is.
struct Mode {
    std::vector<std::string> options;
    std::function<void(zfp_stream*)> set;
};

Mode rate(double bits) {
    return {{"--rate", std::to_string(bits)},
            [bits](zfp_stream* z) { zfp_stream_set_rate(z, bits, zfp_type_float, 3, zfp_false); }};
}
Mode precision(unsigned planes) {
    return {{"--precision", std::to_string(planes)}, [planes](zfp_stream* z) { zfp_stream_set_precision(z, planes); }};
}
Mode accuracy(const std::string& tolerance) {
    return {{"--accuracy", tolerance},
            [tolerance](zfp_stream* z) { zfp_stream_set_accuracy(z, std::stod(tolerance)); }};
}

std::vector<Mode> modes() {
    return {rate(0),       rate(1),          rate(2.5),        rate(5.3),        rate(8),
            rate(32),      precision(1),     precision(11),    precision(32),    accuracy("1e-3"),
            accuracy("1"), accuracy("1e-9"), accuracy("1000"), accuracy("1e-30")};
}

class Peer {
  public:
    explicit Peer(std::string file) : file_(std::move(file)) {
        file_.resize(file_.size() + 64);
        stream_.reset(stream_open(file_.data(), file_.size()));
        zfp_.reset(zfp_stream_open(stream_.get()));
    }

    // The file of an array of any type and number of dimensions; filled up to a whole number of 64-bit words.
    static std::string file(zfp_field* field, const std::function<void(zfp_stream*)>& set) {
        Peer peer(std::string(1 << 20, '\0'));
        set(peer.zfp_.get());
        zfp_write_header(peer.zfp_.get(), field, ZFP_HEADER_FULL);
        const std::size_t size = zfp_compress(peer.zfp_.get(), field);
        EXPECT_NE(size, 0U);
        std::string file = peer.file_.substr(0, size);
        file.resize((size + 7) / 8 * 8);
        return file;
    }
    static std::string file(Field field, const std::function<void(zfp_stream*)>& set) {
        const View view(zfp_field_3d(field.values.data(), zfp_type_float, field.nx, field.ny, field.nz),
                        zfp_field_free);
        return file(view.get(), set);
    }

    // What it reads from a file of floats.
    static std::vector<float> values(const std::string& file, std::size_t count) {
        Peer peer(file);
        const View view(zfp_field_alloc(), zfp_field_free);
        EXPECT_NE(zfp_read_header(peer.zfp_.get(), view.get(), ZFP_HEADER_FULL), 0U);
        EXPECT_EQ(zfp_field_size(view.get(), nullptr), count);
        std::vector<float> values(count);
        zfp_field_set_pointer(view.get(), values.data());
        EXPECT_NE(zfp_decompress(peer.zfp_.get(), view.get()), 0U);
        return values;
    }

    using View = std::unique_ptr<zfp_field, decltype(&zfp_field_free)>;

  private:
    std::string file_;
    std::unique_ptr<bitstream, decltype(&stream_close)> stream_{nullptr, stream_close};
    std::unique_ptr<zfp_stream, decltype(&zfp_stream_close)> zfp_{nullptr, zfp_stream_close};
};

class Zfp : public Workspace {
  protected:
    std::vector<std::string> commandFor(const Field& field, const Mode& mode,
                                        const std::vector<std::string>& more = {}) const {
        std::vector<std::string> command{"-F", "zfp", "--dims", dimsOf(field)};
        command.insert(command.end(), mode.options.begin(), mode.options.end());
        command.insert(command.end(), more.begin(), more.end());
        return command;
    }

    std::string packed(const Field& field, const Mode& mode, const std::vector<std::string>& more = {}) const {
        const Result result = ozrz(commandFor(field, mode, more), bytesOfField(field));
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.out;
    }
};

// --- The same files as libzfp ---------------------------------------------------------------------------------------

TEST_F(Zfp, WritesTheFilesThatThePeerWritesInEveryMode) {
    for (const char* kind : {"smooth", "turbulent"}) {
        const Field field = fieldKind(kind).make(40, 21, 18, 1);
        for (const Mode& mode : modes()) {
            SCOPED_TRACE(std::string(kind) + " " + mode.options[0] + " " + mode.options[1]);
            const std::string ours = packed(field, mode);
            ASSERT_EQ(ours, Peer::file(field, mode.set));
            const Decoded restored = decodeWith("zfp", ours);
            ASSERT_EQ(restored.error, "");
            ASSERT_EQ(floatsOf(restored.contents), Peer::values(ours, field.values.size()));
        }
    }
}

TEST_F(Zfp, FillsUpBlocksAtTheEdgesAsThePeerDoes) {
    for (std::size_t nx = 1; nx <= 5; ++nx) {
        for (std::size_t ny = 1; ny <= 5; ++ny) {
            for (std::size_t nz = 1; nz <= 5; ++nz) {
                const Field field = fieldKind("noisy").make(nx, ny, nz, 2);
                SCOPED_TRACE(dimsOf(field));
                const Mode mode = (nx + ny + nz) % 2 == 0 ? rate(7.1) : precision(20);
                const std::string ours = packed(field, mode);
                ASSERT_EQ(ours, Peer::file(field, mode.set));
                const Decoded restored = decodeWith("zfp", ours);
                ASSERT_EQ(restored.error, "");
                ASSERT_EQ(floatsOf(restored.contents), Peer::values(ours, field.values.size()));
            }
        }
    }
}

TEST_F(Zfp, ReadsWhatThePeerWritesWithAllFourParameters) {
    const Field field = fieldKind("turbulent").make(30, 20, 9, 3);
    struct Four {
        unsigned minBits, maxBits, maxPrec;
        int minExp;
    };
    for (const Four& p : {Four{100, 700, 20, -12}, Four{301, 301, 20, -12}, Four{5000, 6000, 64, -1074},
                          Four{1, 9, 32, -1074}, Four{77, 77, 64, -1074}, Four{3000, 3000, 64, -1074}}) {
        SCOPED_TRACE(p.minBits);
        const std::string file = Peer::file(field, [&](zfp_stream* z) {
            EXPECT_NE(zfp_stream_set_params(z, p.minBits, p.maxBits, p.maxPrec, p.minExp), 0);
        });
        const Decoded restored = decodeWith("zfp", file, {.threads = 3});
        ASSERT_EQ(restored.error, "");
        EXPECT_THAT(restored.warnings, ::testing::IsEmpty());
        ASSERT_EQ(floatsOf(restored.contents), Peer::values(file, field.values.size()));
    }
}

TEST_F(Zfp, VolumesOfOnePlaneMayLeaveOutTheirSizes) {
    const Field image = fieldKind("smooth").make(37, 23, 1, 4);
    write("image", bytesOfField(image));
    EXPECT_EQ(ozrz({"-F", "zfp", "--rate", "9", "--dims", "37,23", "-c", "image"}).out, packed(image, rate(9)));
    const Field line = fieldKind("smooth").make(101, 1, 1, 4);
    write("line", bytesOfField(line));
    EXPECT_EQ(ozrz({"-F", "zfp", "--rate", "9", "--dims", "101", "-c", "line"}).out, packed(line, rate(9)));
}

TEST_F(Zfp, TheCommandOfThePeerReadsAndWritesTheSameFiles) {
    if (!haveCommand("zfp")) GTEST_SKIP() << "no zfp command";
    const Field field = fieldKind("turbulent").make(33, 22, 11, 5);
    write("volume", bytesOfField(field));
    ASSERT_EQ(ozrz(commandFor(field, rate(6), {"volume"})).exitCode, 0);
    const Setting here{path("").string(), ""};
    ASSERT_EQ(run({"zfp", "-q", "-h", "-z", "volume.zfp", "-o", "theirs"}, here).exitCode, 0);
    ASSERT_EQ(ozrz({"-d", "volume.zfp", "-o", "ours"}).exitCode, 0);
    EXPECT_EQ(read("ours"), read("theirs"));
    const Result result =
        run({"zfp", "-q", "-h", "-f", "-3", "33", "22", "11", "-r", "6", "-i", "volume", "-z", "theirs.zfp"}, here);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    ASSERT_EQ(ozrz({"-d", "theirs.zfp", "-o", "again"}).exitCode, 0);
    EXPECT_EQ(read("again"), read("ours"));
}

// --- Threads --------------------------------------------------------------------------------------------------------

TEST_F(Zfp, TheBytesDoNotDependOnThreads) {
    // Slabs of volumes begin inside bytes and words, and bands of an image of several pieces do.
    for (const Field& field : {fieldKind("turbulent").make(45, 33, 50, 6), fieldKind("noisy").make(1030, 1001, 1, 6)}) {
        for (const Mode& mode : {rate(8), rate(2.3), precision(12), accuracy("1e-2")}) {
            SCOPED_TRACE(dimsOf(field) + " " + mode.options[0]);
            const std::string one = packed(field, mode, {"-T1"});
            const Decoded restored = decodeWith("zfp", one);
            ASSERT_EQ(restored.error, "");
            for (const char* threads : {"-T2", "-T5"}) ASSERT_EQ(packed(field, mode, {threads}), one);
            const Decoded parallel = decodeWith("zfp", one, {.threads = 4});
            ASSERT_EQ(parallel.contents, restored.contents);
        }
    }
}

// --- What it tells --------------------------------------------------------------------------------------------------

TEST_F(Zfp, StatisticsAreThoseOfTheRestoredValues) {
    Field field = fieldKind("turbulent").make(45, 33, 10, 7);
    write("volume", bytesOfField(field));
    const Result result = ozrz(commandFor(field, rate(5), {"--stats", "volume"}));
    ASSERT_EQ(result.exitCode, 0);
    const std::vector<float> restored = floatsOf(decodeWith("zfp", read("volume.zfp")).contents);
    double largest = 0;
    double squares = 0;
    for (std::size_t i = 0; i < restored.size(); ++i) {
        const double error = std::fabs(double{restored[i]} - double{field.values[i]});
        largest = std::max(largest, error);
        squares += error * error;
    }
    const double rms = std::sqrt(squares / static_cast<double>(restored.size()));
    const auto [low, high] = std::ranges::minmax(field.values);
    const double psnr = 20 * std::log10((double{high} - double{low}) / rms);
    char text[200];
    std::snprintf(text, sizeof text, "max error %.6g, RMS error %.6g, PSNR %.2f dB\n", largest, rms, psnr);
    EXPECT_THAT(result.err, HasSubstr(text));
    const double size = static_cast<double>(read("volume.zfp").size());
    std::snprintf(text, sizeof text, "ratio %.3f, %.3f bits per value\n", 4 * 45 * 33 * 10 / size,
                  8 * size / (45 * 33 * 10));
    EXPECT_THAT(result.err, HasSubstr(text));
    EXPECT_THAT(result.err, StartsWith("volume: 45 x 33 x 10 floats, rate 5\n"));
}

TEST_F(Zfp, StatisticsLeaveOutWhatIsNotFinite) {
    Field field = fieldKind("smooth").make(8, 8, 8, 8);
    field.values[100] = std::numeric_limits<float>::infinity();
    field.values[300] = std::numeric_limits<float>::quiet_NaN();
    const Result result = ozrz(commandFor(field, rate(8), {"--stats"}), bytesOfField(field));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, HasSubstr("2 values not finite"));
}

TEST_F(Zfp, WithoutLossThereIsNoNoiseToMeasure) {
    const Field zeros{5, 4, 3, std::vector<float>(60)};
    const Result result = ozrz(commandFor(zeros, rate(8), {"--stats"}), bytesOfField(zeros));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, HasSubstr("max error 0, RMS error 0\n"));
}

TEST_F(Zfp, TheListTellsShapeAndMode) {
    const Field field = fieldKind("smooth").make(20, 10, 5, 9);
    write("a.zfp", packed(field, rate(2.5)));
    write("b.zfp", packed(field, precision(17)));
    write("c.zfp", packed(field, accuracy("0.001")));
    const Result result = ozrz({"-lv", "a.zfp", "b.zfp", "c.zfp"});
    EXPECT_EQ(result.exitCode, 0);
    for (const char* text : {"20 x 10 x 5 floats, rate 2.5\n", "20 x 10 x 5 floats, precision 17\n",
                             "20 x 10 x 5 floats, accuracy 2^-10\n", " 4000 "}) {
        EXPECT_THAT(result.out, HasSubstr(text));
    }
}

// --- The drawing ----------------------------------------------------------------------------------------------------

std::string fromBase64(const std::string& text) {
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    uint32_t bits = 0;
    unsigned count = 0;
    for (const char c : text) {
        if (c == '=') break;
        bits = bits << 6 | static_cast<uint32_t>(digits.find(c));
        count += 6;
        if (count >= 8) bytes += static_cast<char>(bits >> (count -= 8));
    }
    return bytes;
}

struct Chunk {
    std::string type;
    std::string data;
};

// The chunks of a PNG file, each with the right checksum.
std::vector<Chunk> chunksOf(const std::string& png) {
    const auto number = [&](std::size_t at) {
        uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(png[at + i]);
        return value;
    };
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1A\n");
    std::vector<Chunk> chunks;
    for (std::size_t at = 8; at < png.size();) {
        const std::size_t size = number(at);
        chunks.push_back({png.substr(at + 4, 4), png.substr(at + 8, size)});
        const std::string checked = png.substr(at + 4, size + 4);
        EXPECT_EQ(number(at + 8 + size),
                  crc32(0, reinterpret_cast<const Bytef*>(checked.data()), static_cast<uInt>(checked.size())));
        at += size + 12;
    }
    return chunks;
}

// The pixels of the images of a drawing: an array of rows for each.
std::vector<std::vector<std::string>> imagesOf(const std::string& svg) {
    const std::string mark = "data:image/png;base64,";
    std::vector<std::vector<std::string>> images;
    for (std::size_t at = svg.find(mark); at != std::string::npos; at = svg.find(mark, at)) {
        at += mark.size();
        const std::vector<Chunk> chunks = chunksOf(fromBase64(svg.substr(at, svg.find('"', at) - at)));
        EXPECT_EQ(chunks.size(), 4U);
        const auto side = [&](std::size_t i) {
            return static_cast<std::size_t>(static_cast<uint8_t>(chunks[0].data[i + 2])) << 8 |
                   static_cast<uint8_t>(chunks[0].data[i + 3]);
        };
        std::string pixels((side(0) + 1) * side(4), '\0');
        uLongf size = pixels.size();
        EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(pixels.data()), &size,
                             reinterpret_cast<const Bytef*>(chunks[2].data.data()), chunks[2].data.size()),
                  Z_OK);
        EXPECT_EQ(size, pixels.size());
        std::vector<std::string> rows;
        for (std::size_t y = 0; y < side(4); ++y) {
            EXPECT_EQ(pixels[y * (side(0) + 1)], 0);
            rows.push_back(pixels.substr(y * (side(0) + 1) + 1, side(0)));
        }
        images.push_back(rows);
    }
    return images;
}

TEST_F(Zfp, DrawsTheMiddleSliceBeforeAndAfterAndTheError) {
    // Every plane is a ramp; the middle one falls, the others rise.
    Field field{24, 16, 9, {}};
    for (std::size_t i = 0; i < 24 * 16 * 9; ++i) {
        const auto x = static_cast<float>(i % 24);
        field.values.push_back(i / (24 * 16) == 4 ? 23 - x : x);
    }
    write("<volume>", bytesOfField(field));
    ASSERT_EQ(ozrz(commandFor(field, rate(16), {"--plot", "plot.svg", "<volume>"})).exitCode, 0);
    const std::string svg = read("plot.svg");
    EXPECT_THAT(svg, StartsWith("<svg "));
    EXPECT_TRUE(svg.ends_with("</svg>\n"));
    for (const char* text :
         {"&lt;volume&gt;", "original", "restored", "error", "slice z = 4", "rate 16", "max error 0"}) {
        EXPECT_THAT(svg, HasSubstr(text));
    }
    // Each panel and the scale of its colors.
    const auto images = imagesOf(svg);
    ASSERT_EQ(images.size(), 6U);
    for (const std::size_t panel : {0U, 2U, 4U}) {
        ASSERT_EQ(images[panel].size(), 16U);
        for (const std::string& row : images[panel]) ASSERT_EQ(row.size(), 24U);
    }
    for (const std::string& row : images[0]) {
        EXPECT_TRUE(std::is_sorted(row.rbegin(), row.rend(),
                                   [](char a, char b) { return static_cast<uint8_t>(a) < static_cast<uint8_t>(b); }));
        EXPECT_NE(row.front(), row.back());
    }
    // At this rate the restored slice looks the same but for a shade.
    for (std::size_t y = 0; y < 16; ++y) {
        for (std::size_t x = 0; x < 24; ++x) {
            EXPECT_NEAR(static_cast<uint8_t>(images[0][y][x]), static_cast<uint8_t>(images[2][y][x]), 2);
        }
    }
}

TEST_F(Zfp, DrawsLargeSlicesInPart) {
    const Field field = fieldKind("smooth").make(1500, 700, 1, 10);
    write("image", bytesOfField(field));
    ASSERT_EQ(ozrz(commandFor(field, rate(4), {"--plot", "plot.svg", "image"})).exitCode, 0);
    const auto images = imagesOf(read("plot.svg"));
    ASSERT_EQ(images.size(), 6U);
    EXPECT_EQ(images[0].size(), 234U);
    EXPECT_EQ(images[0][0].size(), 500U);
}

TEST_F(Zfp, DrawsWhatIsNotFiniteAndWhatIsConstant) {
    Field field{6, 5, 1, std::vector<float>(30, 2.0F)};
    ASSERT_EQ(ozrz(commandFor(field, rate(8), {"--plot", "constant.svg"}), bytesOfField(field)).exitCode, 0);
    EXPECT_EQ(imagesOf(read("constant.svg")).size(), 6U);
    field.values.assign(30, std::numeric_limits<float>::infinity());
    ASSERT_EQ(ozrz(commandFor(field, rate(8), {"--plot", "infinite.svg"}), bytesOfField(field)).exitCode, 0);
    EXPECT_EQ(imagesOf(read("infinite.svg"))[0][0][0], '\xFF');
}

TEST_F(Zfp, ADrawingIsNotOverwrittenUnlessForced) {
    const Field field = fieldKind("smooth").make(8, 8, 8, 11);
    write("volume", bytesOfField(field));
    write("plot.svg", "mine");
    const Result refused = ozrz(commandFor(field, rate(8), {"--plot", "plot.svg", "volume"}));
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_THAT(refused.err, HasSubstr("plot.svg"));
    EXPECT_EQ(read("plot.svg"), "mine");
    EXPECT_FALSE(exists("volume.zfp"));
    EXPECT_EQ(ozrz(commandFor(field, rate(8), {"-f", "--plot", "plot.svg", "volume"})).exitCode, 0);
    EXPECT_THAT(read("plot.svg"), StartsWith("<svg "));
}

// --- What cannot be -------------------------------------------------------------------------------------------------

TEST_F(Zfp, SaysWhatIsMissing) {
    write("volume", std::string(256, '\0'));
    EXPECT_THAT(ozrz({"-F", "zfp", "--rate", "8", "volume"}).err, HasSubstr("--dims"));
    EXPECT_THAT(ozrz({"-F", "zfp", "--dims", "4,4,4", "volume"}).err, HasSubstr("--rate, --precision and --accuracy"));
    EXPECT_FALSE(exists("volume.zfp"));
}

TEST_F(Zfp, RefusesSourcesOfAnotherSize) {
    const std::string right(4 * 5 * 6 * 4, '\0');
    for (const std::string& wrong :
         {right.substr(1), right + '\0', right.substr(0, 100), std::string(), right + right}) {
        SCOPED_TRACE(wrong.size());
        write("volume", wrong);
        const Result fromFile = ozrz({"-F", "zfp", "--rate", "8", "--dims", "4,5,6", "volume"});
        EXPECT_EQ(fromFile.exitCode, 1);
        EXPECT_THAT(fromFile.err, HasSubstr("4 x 5 x 6 floats take 480 bytes"));
        EXPECT_FALSE(exists("volume.zfp"));
        const Result fromPipe = ozrz({"-F", "zfp", "--rate", "8", "--dims", "4,5,6"}, wrong);
        EXPECT_EQ(fromPipe.exitCode, 1);
        EXPECT_THAT(fromPipe.err, HasSubstr("480 bytes"));
    }
}

TEST_F(Zfp, RefusesWrongOptions) {
    for (const auto& options : std::vector<std::vector<std::string>>{{"--dims", "0,1,1"},
                                                                     {"--dims", "65537"},
                                                                     {"--dims", "4,4,4,4"},
                                                                     {"--dims", "4,,4"},
                                                                     {"--dims", "4,4,"},
                                                                     {"--dims", "four"},
                                                                     {"--dims", "-4"},
                                                                     {"--rate", "33"},
                                                                     {"--rate", "-1"},
                                                                     {"--precision", "0"},
                                                                     {"--precision", "33"},
                                                                     {"--accuracy", "0"},
                                                                     {"--accuracy", "-1"},
                                                                     {"--accuracy", "nan"},
                                                                     {"--accuracy", "inf"},
                                                                     {"--rate", "8", "--precision", "8"},
                                                                     {"--rate", "8", "--accuracy", "8"},
                                                                     {"--accuracy", "8", "--precision", "8"},
                                                                     {"-F", "zfp", "-5"},
                                                                     {"-F", "zfp", "--fast"}}) {
        SCOPED_TRACE(::testing::PrintToString(options));
        const Result result = ozrz(options);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, HasSubstr("Try \"ozrz --help\""));
    }
}

TEST_F(Zfp, SaysWhatItCannotRead) {
    std::vector<double> doubles(64, 1.0);
    std::vector<float> floats(64, 1.0F);
    std::vector<int32_t> integers(64, 1);
    const Peer::View image(zfp_field_2d(floats.data(), zfp_type_float, 8, 8), zfp_field_free);
    const Peer::View volume(zfp_field_3d(floats.data(), zfp_type_float, 4, 4, 4), zfp_field_free);
    const Peer::View wide(zfp_field_3d(doubles.data(), zfp_type_double, 4, 4, 4), zfp_field_free);
    const Peer::View whole(zfp_field_3d(integers.data(), zfp_type_int32, 4, 4, 4), zfp_field_free);
    const auto eight = rate(8).set;
    EXPECT_THAT(decodeWith("zfp", Peer::file(image.get(), eight)).error, HasSubstr("floats in 2 dimensions"));
    EXPECT_THAT(decodeWith("zfp", Peer::file(wide.get(), eight)).error, HasSubstr("doubles in 3 dimensions"));
    EXPECT_THAT(decodeWith("zfp", Peer::file(whole.get(), eight)).error, HasSubstr("32-bit integers in 3 dimensions"));
    EXPECT_THAT(decodeWith("zfp", Peer::file(volume.get(), zfp_stream_set_reversible)).error,
                HasSubstr("without loss"));
    std::string later = Peer::file(volume.get(), eight);
    later[3] = 9;
    EXPECT_THAT(decodeWith("zfp", later).error, HasSubstr("version 9"));
    EXPECT_THAT(decodeWith("zfp", "zfq" + later.substr(3)).error, HasSubstr("no ZFP file"));
}

TEST_F(Zfp, NoticesWhereAFileWasCut) {
    const Field field = fieldKind("turbulent").make(9, 9, 9, 12);
    for (const Mode& mode : {rate(3), accuracy("0.01")}) {
        const std::string file = packed(field, mode);
        for (std::size_t size = 0; size + 8 <= file.size(); ++size) {
            const Decoded result = decodeWith("zfp", file.substr(0, size));
            ASSERT_THAT(result.error, HasSubstr("is damaged: it ends inside its")) << size;
        }
    }
}

TEST_F(Zfp, WarnsOfBytesBehindTheEnd) {
    const Field field = fieldKind("turbulent").make(9, 9, 9, 13);
    for (const Mode& mode : {rate(3.3), accuracy("0.01")}) {
        const std::string file = packed(field, mode);
        const Decoded clean = decodeWith("zfp", file);
        EXPECT_THAT(clean.warnings, ::testing::IsEmpty());
        const Decoded more = decodeWith("zfp", file + "eight and more bytes");
        EXPECT_EQ(more.error, "");
        EXPECT_EQ(more.contents, clean.contents);
        ASSERT_EQ(more.warnings.size(), 1U);
        EXPECT_THAT(more.warnings[0], HasSubstr("trailing garbage ignored"));
    }
}

// A header may ask for a quarter of a million gigabytes.
TEST_F(Zfp, TakesNoMemoryForAVolumeThatCannotBeThere) {
    // A process begins with what the tests' own has in memory, and that counts.
    const auto least = ozrz({"-V"}).maxResidentKilobytes;
    for (const uint16_t mode : {uint16_t{511}, uint16_t{8}, uint16_t{0}, uint16_t{2100}, uint16_t{3000}}) {
        std::string file = "zfp\x05";
        const uint64_t fields = 0xA | (~uint64_t{0} >> 16) << 4 | uint64_t{mode} << 52;
        for (unsigned i = 0; i < 8; ++i) file += static_cast<char>(fields >> 8 * i);
        file.resize(2000);
        const Result result = ozrz({"-dc", "-F", "zfp"}, file);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, HasSubstr("it ends inside its blocks"));
        EXPECT_LT(result.maxResidentKilobytes, least + (100 << 10));
    }
}

}  // namespace
}  // namespace ozrz::test
