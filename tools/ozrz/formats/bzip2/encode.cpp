// Blocks go through the pipeline: run-length coded in their order, compressed in parallel, joined bit by bit in their
// order. Where blocks begin does not depend on the number of threads, and so neither does the file.
#include "formats/bzip2/encode.h"

#include <array>

#include "formats/bzip2/bit_joiner.h"
#include "formats/bzip2/bit_writer.h"
#include "formats/bzip2/block_encoder.h"
#include "formats/bzip2/layout.h"
#include "pipeline.h"
#include "pool.h"

namespace ozrz::bzip2 {
namespace {

struct Slot {
    RunBlock block;
    Buffer code;
    std::size_t codeBits = 0;
};

void writeStreamHeader(Sink& sink, int level) {
    std::array<uint8_t, kStreamHeaderSize> bytes;
    storeBigEndian(bytes.data(), streamHeader(level));
    sink.write(bytes);
}

void appendStreamEnd(BitJoiner& joiner, uint32_t crc) {
    std::array<uint8_t, (kMarkBits + kCrcBits) / 8 + BitJoiner::kSlack> memory{};
    BitWriter out(memory);
    out.putMark(kEndMark);
    out.put(crc, kCrcBits);
    joiner.append(memory.data(), out.finish());
    joiner.finish();
}

}  // namespace

void encode(Source& source, Sink& sink, const EncodeSettings& settings) {
    const std::optional<uint64_t> knownSize = settings.source.size;
    // Run-length code is at most a quarter longer than what it stands for.
    const bool oneBlock = knownSize && *knownSize <= blockSizeOfLevel(settings.level) / 5 * 4;
    const unsigned threads = oneBlock ? 1 : settings.threads;
    std::vector<Slot> slots(pipelineSlots(threads));
    Pool<BlockEncoder> encoders;
    RunReader reader(source, settings.level);
    BitJoiner joiner(sink);
    uint32_t crc = 0;

    writeStreamHeader(sink, settings.level);
    const auto read = [&](std::size_t i) { return reader.next(slots[i].block); };
    const auto work = [&](std::size_t i) {
        std::unique_ptr<BlockEncoder> encoder = encoders.take();
        slots[i].codeBits = encoder->encode(slots[i].block, slots[i].code);
        encoders.giveBack(std::move(encoder));
    };
    const auto write = [&](std::size_t i) {
        crc = combinedCrc(crc, slots[i].block.crc);
        joiner.append(slots[i].code.data(), slots[i].codeBits);
    };
    runPipeline(threads, slots.size(), {read, work, write});
    appendStreamEnd(joiner, crc);
}

}  // namespace ozrz::bzip2
