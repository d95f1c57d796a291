// The benchmark. Files are held in memory, and every format works through the same code as on files, with all its
// checks. Passes over all files are repeated for the given time, and the fastest one counts: whatever else the machine
// does can only make a pass slower.
#include "bench.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>

#include "error.h"
#include "input_file.h"
#include "text.h"

namespace ozrz {
namespace {

// Files of different natures that most systems have: text, machine code, a dictionary, Unicode tables.
constexpr const char* kUsualFiles[] = {"/usr/share/common-licenses/GPL-3",
                                       "/usr/lib/x86_64-linux-gnu/libc.so.6",
                                       "/usr/lib/x86_64-linux-gnu/libstdc++.so.6",
                                       "/usr/share/dict/words",
                                       "/usr/share/mime/packages/freedesktop.org.xml",
                                       "/usr/share/i18n/locales/translit_combining",
                                       "/proc/self/exe"};

struct Sample {
    std::string name{};
    Buffer plain{};
    std::size_t size = 0;
    Buffer compressed{};
    std::size_t compressedSize = 0;

    Bytes plainBytes() const { return {plain.data(), size}; }
    Bytes compressedBytes() const { return {compressed.data(), compressedSize}; }
};

struct Measurement {
    std::string format{};
    std::string level{};
    unsigned threads = 1;
    uint64_t size = 0;
    uint64_t compressedSize = 0;
    double encodeRate = 0;
    double decodeRate = 0;

    double ratio() const { return static_cast<double>(size) / static_cast<double>(compressedSize); }
};

Sample load(const std::string& path) {
    InputFile input(path, InputFile::Accept::anything);
    Sample sample{.name = path};
    MemorySink sink(sample.plain);
    Buffer piece(MiB);
    while (const std::size_t count = input.source().read({piece.data(), piece.size()}))
        sink.write({piece.data(), count});
    sample.size = sink.bytes().size();
    return sample;
}

std::vector<Sample> loadAll(const BenchOptions& options) {
    std::vector<Sample> samples;
    for (const std::string& path : options.files) samples.push_back(load(path));
    if (samples.empty()) {
        for (const char* path : kUsualFiles) {
            if (access(path, R_OK) == 0) samples.push_back(load(path));
        }
    }
    std::erase_if(samples, [](const Sample& sample) { return sample.size == 0; });
    if (samples.empty()) throw UsageError("there is nothing to measure: all files are empty");
    return samples;
}

// Seconds of the fastest of the passes made in `seconds`; one pass is always made, so that the results are there.
double fastestPass(double seconds, const std::function<void()>& pass) {
    using Clock = std::chrono::steady_clock;
    double fastest = 0;
    const Clock::time_point start = Clock::now();
    Clock::time_point before = start;
    do {
        pass();
        const Clock::time_point after = Clock::now();
        const double took = std::chrono::duration<double>(after - before).count();
        fastest = fastest == 0 ? took : std::min(fastest, took);
        before = after;
    } while (std::chrono::duration<double>(before - start).count() < seconds);
    return std::max(fastest, 1e-9);
}

Measurement measure(const Format& format, std::vector<Sample>& samples, const BenchOptions& options, int level,
                    int acceleration) {
    Measurement result{.format = std::string(format.description().name),
                       .level = acceleration == 0 ? std::to_string(level) : "fast=" + std::to_string(acceleration),
                       .threads = options.threads};
    Buffer restored;
    const auto encode = [&](Sample& sample) {
        EncodeSettings settings{.level = level, .acceleration = acceleration, .threads = options.threads};
        settings.source.size = sample.size;
        MemorySource source(sample.plainBytes());
        MemorySink sink(sample.compressed);
        format.encode(source, sink, settings);
        sample.compressedSize = sink.bytes().size();
    };
    const auto decode = [&](const Sample& sample) {
        MemorySource source(sample.compressedBytes());
        MemorySink sink(restored);
        format.decode(source, sink, {.threads = options.threads});
        return sink.bytes();
    };

    const double encodeSeconds =
        fastestPass(options.seconds, [&] { std::for_each(samples.begin(), samples.end(), encode); });
    for (const Sample& sample : samples) {
        const Bytes content = decode(sample);
        if (!std::equal(content.begin(), content.end(), sample.plain.data(), sample.plain.data() + sample.size)) {
            throw Error(sample.name + ": comes out of " + result.format + " at level " + result.level + " changed");
        }
        result.size += sample.size;
        result.compressedSize += sample.compressedSize;
    }
    const double decodeSeconds =
        fastestPass(options.seconds, [&] { std::for_each(samples.begin(), samples.end(), decode); });
    result.encodeRate = static_cast<double>(result.size) / encodeSeconds;
    result.decodeRate = static_cast<double>(result.size) / decodeSeconds;
    return result;
}

// How results are shown: what comes first, what comes between lines, each line, what comes last.
class Report {
  public:
    virtual ~Report() = default;
    virtual void begin(const std::vector<Sample>& samples, const BenchOptions& options) = 0;
    virtual void add(const Measurement& m) = 0;
    virtual void end() {}
};

class TableReport final : public Report {
    void begin(const std::vector<Sample>& samples, const BenchOptions& options) override {
        uint64_t total = 0;
        for (const Sample& sample : samples) total += sample.size;
        print(countText(samples.size(), "file") + ", " + sizeText(total) + ", " + countText(options.threads, "thread") +
              ", the fastest pass of " + fixedText(options.seconds, 1) + " s counts; every result is verified\n");
        if (options.files.empty()) {
            for (const Sample& sample : samples) print("  " + sample.name + " (" + sizeText(sample.size) + ")\n");
        }
        print("\n");
        print(row("format", "level", "compressed", "ratio", "compress", "decompress"));
    }

    void add(const Measurement& m) override {
        print(row(m.format, m.level, std::to_string(m.compressedSize), fixedText(m.ratio(), 3), rateText(m.encodeRate),
                  rateText(m.decodeRate)));
    }

    static std::string row(const std::string& format, const std::string& level, const std::string& compressed,
                           const std::string& ratio, const std::string& encode, const std::string& decode) {
        return padRight(format, 8) + padRight(level, 8) + padLeft(compressed, 14) + padLeft(ratio, 9) +
               padLeft(encode, 14) + padLeft(decode, 14) + "\n";
    }
};

class CsvReport final : public Report {
    void begin(const std::vector<Sample>&, const BenchOptions&) override {
        print("format,level,threads,bytes,compressed_bytes,ratio,compress_mb_per_s,decompress_mb_per_s\n");
    }

    void add(const Measurement& m) override {
        print(m.format + "," + m.level + "," + std::to_string(m.threads) + "," + std::to_string(m.size) + "," +
              std::to_string(m.compressedSize) + "," + fixedText(m.ratio(), 4) + "," +
              fixedText(m.encodeRate / 1e6, 1) + "," + fixedText(m.decodeRate / 1e6, 1) + "\n");
    }
};

class JsonReport final : public Report {
    void begin(const std::vector<Sample>&, const BenchOptions&) override { print("["); }

    void add(const Measurement& m) override {
        print(first_ ? "\n" : ",\n");
        print(R"(  {"format": ")" + m.format + R"(", "level": ")" + m.level + R"(", "threads": )" +
              std::to_string(m.threads) + R"(, "bytes": )" + std::to_string(m.size) + R"(, "compressed_bytes": )" +
              std::to_string(m.compressedSize) + R"(, "ratio": )" + fixedText(m.ratio(), 4) +
              R"(, "compress_mb_per_s": )" + fixedText(m.encodeRate / 1e6, 1) + R"(, "decompress_mb_per_s": )" +
              fixedText(m.decodeRate / 1e6, 1) + "}");
        first_ = false;
    }

    void end() override { print("\n]\n"); }

    bool first_ = true;
};

std::unique_ptr<Report> makeReport(BenchOptions::Style style) {
    if (style == BenchOptions::Style::csv) return std::make_unique<CsvReport>();
    if (style == BenchOptions::Style::json) return std::make_unique<JsonReport>();
    return std::make_unique<TableReport>();
}

}  // namespace

void runBench(const BenchOptions& options, const Registry& registry) {
    std::vector<Sample> samples = loadAll(options);
    const std::unique_ptr<Report> report = makeReport(options.style);
    report->begin(samples, options);
    for (const auto& format : registry.formats()) {
        if (options.format != nullptr && options.format != format.get()) continue;
        const FormatDescription& description = format->description();
        for (const int level : description.distinctLevels) report->add(measure(*format, samples, options, level, 0));
        for (const int acceleration : description.distinctAccelerations) {
            report->add(measure(*format, samples, options, description.defaultLevel, acceleration));
        }
    }
    report->end();
}

}  // namespace ozrz
