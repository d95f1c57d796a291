// Writes a .zfp file. The pieces of the volume are compressed in parallel, each to a stream of its own, and joined bit
// behind bit: the result is that of one run from the first block to the last.
#include <memory>
#include <vector>

#include "error.h"
#include "formats/zfp/codec.h"
#include "formats/zfp/plot.h"
#include "formats/zfp/statistics.h"
#include "output_file.h"
#include "pipeline.h"
#include "text.h"

namespace ozrz::zfp {
namespace {

// A piece on its way.
struct Slot {
    Dims dims;
    Values plain;
    Buffer stream;
    uint64_t bits = 0;
    Values restored;
    Statistics statistics;
};

void compress(Slot& slot, const Parameters& parameters, bool compare) {
    slot.bits = encodeVolume(slot.plain.data(), slot.dims, parameters, slot.stream);
    if (!compare) return;
    slot.restored.require(slot.dims.values());
    const auto size = static_cast<std::size_t>((slot.bits + 7) / 8);
    VolumeDecoder({slot.stream.data(), size}, parameters).decode(slot.dims, slot.restored.data());
    slot.statistics = {};
    slot.statistics.add(slot.plain.span(), slot.restored.span());
}

[[noreturn]] void refuseSize(const std::string& has, const Dims& dims) {
    throw Error("the source has " + has + ", but " + dims.text() + " take " + countText(dims.bytes(), "byte"));
}

std::string ratioText(uint64_t compressed, const Dims& dims) {
    const auto size = static_cast<double>(compressed);
    return "ratio " + fixedText(static_cast<double>(dims.bytes()) / size, 3) + ", " +
           fixedText(8 * size / static_cast<double>(dims.values()), 3) + " bits per value";
}

void report(const EncodeSettings& settings, const Header& header, uint64_t compressed, const Statistics& statistics) {
    const std::string name = settings.source.name.empty() ? "" : settings.source.name + ": ";
    settings.tell(name + header.dims.text() + ", " + describe(header.parameters));
    settings.tell("  " + ratioText(compressed, header.dims));
    if (statistics.lowest() <= statistics.highest()) {
        settings.tell("  values from " + numberText(statistics.lowest()) + " to " + numberText(statistics.highest()));
    }
    settings.tell("  " + errorText(statistics));
    if (statistics.nonFinite() > 0) {
        settings.tell("  " + countText(statistics.nonFinite(), "value") + " not finite, and left out of these numbers");
    }
}

void writeText(OutputFile& file, const std::string& text) {
    file.sink().write({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    file.commit(nullptr, false);
}

}  // namespace

void encode(Source& source, Sink& sink, const VolumeOptions& options, const EncodeSettings& settings) {
    if (settings.dictionary) throw UsageError("zfp has no dictionaries");
    if (!options.dims) throw UsageError("the format zfp needs --dims NX,NY,NZ: how many floats there are, x fastest");
    if (!options.parameters) throw UsageError("the format zfp needs one of --rate, --precision and --accuracy");
    const Header header{*options.dims, *options.parameters};
    const Dims& dims = header.dims;
    if (settings.source.size && *settings.source.size != dims.bytes()) {
        refuseSize(countText(*settings.source.size, "byte"), dims);
    }

    // Opened before the work, in case it cannot be.
    std::unique_ptr<OutputFile> plot;
    if (options.plot) plot = openFile(*options.plot, {}, [&](const std::string&) { return settings.overwrite; });

    const uint64_t before = sink.written();
    BitJoiner joiner(sink);
    writeHeader(joiner, header);

    const Pieces pieces(dims);
    const unsigned threads = pieces.count() == 1 ? 1 : settings.threads;
    std::vector<std::unique_ptr<Slot>> slots(pipelineSlots(threads));
    for (auto& slot : slots) slot = std::make_unique<Slot>();
    const bool compare = options.statistics || plot;
    Statistics statistics;
    MiddleSlice slice(dims);
    uint64_t next = 0;
    const auto read = [&](std::size_t i) {
        if (next == pieces.count()) return false;
        Slot& slot = *slots[i];
        slot.dims = pieces.dims(next++);
        slot.plain.require(slot.dims.values());
        if (source.read(slot.plain.bytes()) < slot.dims.bytes()) {
            refuseSize(countText(source.position(), "byte"), dims);
        }
        return true;
    };
    const auto work = [&](std::size_t i) { compress(*slots[i], header.parameters, compare); };
    const auto write = [&](std::size_t i) {
        const Slot& slot = *slots[i];
        joiner.append({slot.stream.data(), slot.stream.size()}, slot.bits);
        if (!compare) return;
        statistics.add(slot.statistics);
        if (plot) slice.take(slot.plain.span(), slot.restored.span());
    };
    runPipeline(threads, slots.size(), {read, work, write});
    if (!source.peek(1).empty()) refuseSize("more", dims);
    joiner.finish();

    const uint64_t compressed = sink.written() - before;
    if (options.statistics) report(settings, header, compressed, statistics);
    if (plot) {
        const std::string name = settings.source.name.empty() ? "standard input" : settings.source.name;
        const std::string about = dims.text() + ", slice z = " + std::to_string(slice.z()) + "; " +
                                  describe(header.parameters) + ", " + ratioText(compressed, dims) + "; " +
                                  errorText(statistics);
        writeText(*plot, drawSlice(slice, name, about));
    }
}

}  // namespace ozrz::zfp
