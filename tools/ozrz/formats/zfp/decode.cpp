// Reads a .zfp file. At a fixed rate it is known where every piece begins, and the pieces are decompressed in parallel
// as they are read. Otherwise only the decoder finds that out: the file is read whole and decompressed in order.
#include <limits>
#include <memory>
#include <vector>

#include "error.h"
#include "formats/zfp/codec.h"
#include "pipeline.h"
#include "text.h"

namespace ozrz::zfp {
namespace {

// Padding at the end of a file that no block has used: readers of 64-bit words want whole ones.
constexpr uint64_t kMostPadding = 7;

// Before memory is taken for the values: there are bits enough for that many blocks. A damaged header could otherwise
// ask for any amount.
void checkSize(Bytes stream, uint64_t blocks, const Parameters& parameters) {
    if (blocks > stream.size() * 8 / parameters.leastBits()) {
        throw DataError("is damaged: it ends inside its blocks");
    }
}

void warnOfGarbage(const DecodeSettings& settings, uint64_t bytes) {
    if (bytes > kMostPadding) {
        settings.warn("trailing garbage ignored: " + countText(bytes, "byte") + " behind the last block");
    }
}

// A piece on its way.
struct Slot {
    Dims dims;
    Buffer buffer;
    Bytes stream;
    Values values;
};

void decodeInParallel(Source& source, BitSplitter& splitter, const Header& header, Sink& sink,
                      const DecodeSettings& settings) {
    const Pieces pieces(header.dims);
    const unsigned threads = pieces.count() == 1 ? 1 : settings.threads;
    std::vector<std::unique_ptr<Slot>> slots(pipelineSlots(threads));
    for (auto& slot : slots) slot = std::make_unique<Slot>();
    uint64_t next = 0;
    const auto read = [&](std::size_t i) {
        if (next == pieces.count()) return false;
        Slot& slot = *slots[i];
        slot.dims = pieces.dims(next++);
        slot.stream = splitter.take(slot.dims.blocks() * header.parameters.maxBits, slot.buffer);
        checkSize(slot.stream, slot.dims.blocks(), header.parameters);
        return true;
    };
    const auto work = [&](std::size_t i) {
        Slot& slot = *slots[i];
        slot.values.require(slot.dims.values());
        VolumeDecoder(slot.stream, header.parameters).decode(slot.dims, slot.values.data());
    };
    const auto write = [&](std::size_t i) { sink.write(slots[i]->values.bytes()); };
    runPipeline(threads, slots.size(), {read, work, write});
    warnOfGarbage(settings, source.skip(std::numeric_limits<uint64_t>::max()));
}

void decodeInOrder(BitSplitter& splitter, const Header& header, Sink& sink, const DecodeSettings& settings) {
    Buffer buffer;
    const Bytes stream = splitter.take(std::numeric_limits<uint64_t>::max(), buffer);
    checkSize(stream, header.dims.blocks(), header.parameters);
    VolumeDecoder decoder(stream, header.parameters);
    const Pieces pieces(header.dims);
    Values values;
    for (uint64_t i = 0; i < pieces.count(); ++i) {
        const Dims dims = pieces.dims(i);
        values.require(dims.values());
        decoder.decode(dims, values.data());
        sink.write(values.bytes());
    }
    warnOfGarbage(settings, decoder.unused());
}

}  // namespace

void decode(Source& source, Sink& sink, const DecodeSettings& settings) {
    BitSplitter splitter(source);
    const Header header = readHeader(splitter);
    if (header.parameters.fixedRate()) {
        decodeInParallel(source, splitter, header, sink, settings);
    } else {
        decodeInOrder(splitter, header, sink, settings);
    }
}

// The header tells it all.
Listing list(Source& source) {
    const uint64_t start = source.position();
    BitSplitter splitter(source);
    const Header header = readHeader(splitter);
    source.skip(std::numeric_limits<uint64_t>::max());
    return {.compressed = source.position() - start,
            .uncompressed = header.dims.bytes(),
            .check = "none",
            .details = header.dims.text() + ", " + describe(header.parameters)};
}

}  // namespace ozrz::zfp
