// Chunks of the source go through the pipeline, each compressed on its own behind the last 32 KiB of the one before it.
//
// The stream of a chunk that is not the last ends on a byte: where its last block does not, an empty stored block,
// which does, follows. So the chunks' bytes follow each other in the file, and all of them are one stream. Where chunks
// begin does not depend on the number of threads, and so neither does the file.
#include "formats/deflate/encode.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "formats/deflate/block_writer.h"
#include "formats/deflate/chunk_encoder.h"
#include "pipeline.h"

namespace ozrz::deflate {
namespace {

// Large enough that what a chunk costs (its history entered, a block ended early, the bytes between) is no matter;
// small enough that files of a few megabytes keep several threads at work.
constexpr std::size_t kChunkSize = 512 * KiB;

// The source is read and checked in pieces of this size, so that the check finds them in the processor's cache.
constexpr std::size_t kReadPiece = 256 * KiB;

struct Slot {
    explicit Slot(const EncodeSettings& settings)
        : plain(kWindowSize + kChunkSize), encoder(makeChunkEncoder(settings.level, settings.acceleration)) {}

    uint8_t* begin() { return plain.data() + kWindowSize; }

    Buffer plain;  // the window in front of the chunk, the chunk
    Chunk chunk;
    Buffer compressed;
    std::unique_ptr<ChunkEncoder> encoder;
    Bytes result;
};

void compress(Slot& slot) {
    const Chunk& chunk = slot.chunk;
    slot.compressed.require(compressedBound(chunk.bytes.size()));
    BitWriter out(slot.compressed.data());
    if (chunk.bytes.empty()) {
        writeEmptyBlock(out, chunk.last);
    } else {
        slot.encoder->encode(chunk, out);
    }
    if (chunk.last) {
        out.align();
    } else if (!out.aligned()) {
        writeStored(out, {}, false);
    }
    slot.result = out.bytes();
}

// Puts the last bytes of `before` in front of the chunk.
void setHistory(Slot& slot, Bytes before) {
    const std::size_t size = std::min(before.size(), kWindowSize);
    if (size != 0) std::memmove(slot.begin() - size, before.data() + before.size() - size, size);
    slot.chunk.history = size;
}

}  // namespace

void encode(Source& source, Sink& sink, const EncodeSettings& settings, const std::function<void(Bytes)>& see) {
    const std::optional<uint64_t> knownSize = settings.source.size;
    const unsigned threads = knownSize && *knownSize <= kChunkSize ? 1 : settings.threads;
    std::vector<std::unique_ptr<Slot>> slots(pipelineSlots(threads));
    for (auto& slot : slots) slot = std::make_unique<Slot>(settings);

    Bytes before = settings.dictionary.value_or(Bytes{});
    bool ended = false;
    const auto read = [&](std::size_t i) {
        if (ended) return false;
        Slot& slot = *slots[i];
        setHistory(slot, before);
        std::size_t size = 0;
        while (size < kChunkSize && !ended) {
            const MutableBytes piece(slot.begin() + size, std::min(kReadPiece, kChunkSize - size));
            const std::size_t count = source.read(piece);
            see(piece.first(count));
            size += count;
            ended = count < piece.size();
        }
        ended = ended || source.peek(1).empty();
        slot.chunk.bytes = before = {slot.begin(), size};
        slot.chunk.last = ended;
        return true;
    };
    const auto work = [&](std::size_t i) { compress(*slots[i]); };
    const auto write = [&](std::size_t i) { sink.write(slots[i]->result); };
    runPipeline(threads, slots.size(), {read, work, write});
}

}  // namespace ozrz::deflate
