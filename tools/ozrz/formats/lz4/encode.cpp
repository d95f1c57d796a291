// Writes one LZ4 frame: blocks, compressed in parallel, each stored as it is where compression gains nothing.
//
// A linked block goes through the pipeline with the end of the one before it, which is all that its matches can reach:
// the block size is at least that. So what becomes of it depends on no other block's compression, and linked blocks
// too are compressed in parallel, with the same result whatever the number of threads.
#include <algorithm>
#include <cstring>
#include <memory>

#include "error.h"
#include "formats/lz4/block_encoder.h"
#include "formats/lz4/codec.h"
#include "formats/lz4/xxh32.h"
#include "pipeline.h"

namespace ozrz::lz4 {
namespace {

// The source is read and hashed in pieces of this size, so that the hash finds them in the processor's cache.
constexpr std::size_t kReadPiece = 256 * KiB;

// A block on its way. Both buffers have room in front and behind for the block's header and checksum, so that whichever
// of the two is written goes out in one piece. In front of the plain one there is also room for the history: the header
// is written over the end of it, when it has served.
struct Slot {
    Slot(std::size_t blockSize, bool linked, std::unique_ptr<BlockEncoder> blockEncoder)
        : front(linked ? kMaxDistance : kBlockHeaderSize),
          plain(front + blockSize + kChecksumSize),
          compressed(kBlockHeaderSize + compressedBound(blockSize) + kChecksumSize),
          encoder(std::move(blockEncoder)) {}

    uint8_t* begin() { return plain.data() + front; }

    std::size_t front;
    Buffer plain;
    std::size_t plainSize = 0;
    std::size_t history = 0;
    Buffer compressed;
    std::unique_ptr<BlockEncoder> encoder;
    Bytes result;
};

void compress(Slot& slot, bool withChecksum) {
    const Bytes plain(slot.begin(), slot.plainSize);
    std::size_t size = slot.encoder->encode(plain, slot.history, slot.compressed.data() + kBlockHeaderSize);
    const bool stored = size >= plain.size();
    if (stored) size = plain.size();
    uint8_t* block = stored ? slot.begin() - kBlockHeaderSize : slot.compressed.data();

    storeLittleEndian(block, static_cast<uint32_t>(size) | (stored ? kStoredFlag : 0));
    std::size_t end = kBlockHeaderSize + size;
    if (withChecksum) {
        storeLittleEndian(block + end, xxh32({block + kBlockHeaderSize, size}));
        end += kChecksumSize;
    }
    slot.result = {block, end};
}

// Puts the last bytes of `before` in front of the block.
void setHistory(Slot& slot, Bytes before) {
    slot.history = std::min(before.size(), kMaxDistance);
    if (slot.history == 0) return;
    std::memmove(slot.begin() - slot.history, before.data() + before.size() - slot.history, slot.history);
}

std::vector<uint8_t> frameEnd(const Xxh32& contentHash, bool withChecksum) {
    std::vector<uint8_t> bytes(kBlockHeaderSize + (withChecksum ? kChecksumSize : 0));
    storeLittleEndian(bytes.data(), kEndMark);
    if (withChecksum) storeLittleEndian(bytes.data() + kBlockHeaderSize, contentHash.digest());
    return bytes;
}

}  // namespace

void encode(Source& source, Sink& sink, const FrameOptions& options, const EncodeSettings& settings) {
    Descriptor descriptor{.independentBlocks = !options.linkedBlocks,
                          .blockChecksums = options.blockChecksums,
                          .contentChecksum = options.contentChecksum,
                          .blockSizeCode = options.blockSizeCode};
    const std::optional<uint64_t> knownSize = settings.source.size;
    if (options.contentSize) {
        if (!knownSize) throw UsageError("--content-size needs a regular file: the size of a pipe is not known before");
        descriptor.contentSize = *knownSize;
    }
    sink.write(serialize(descriptor));

    const std::size_t blockSize = descriptor.blockSize();
    const unsigned threads = knownSize && *knownSize <= blockSize ? 1 : settings.threads;
    std::vector<std::unique_ptr<Slot>> slots(pipelineSlots(threads));
    for (auto& slot : slots) {
        slot = std::make_unique<Slot>(
            blockSize, options.linkedBlocks,
            makeBlockEncoder(settings.level, settings.acceleration, reachableEnd(settings.dictionary)));
    }

    Xxh32 contentHash;
    const uint64_t start = source.position();
    Bytes before;
    const auto read = [&](std::size_t i) {
        Slot& slot = *slots[i];
        if (options.linkedBlocks) setHistory(slot, before);
        slot.plainSize = 0;
        while (slot.plainSize < blockSize) {
            const MutableBytes piece(slot.begin() + slot.plainSize, std::min(kReadPiece, blockSize - slot.plainSize));
            const std::size_t count = source.read(piece);
            if (options.contentChecksum) contentHash.update(piece.first(count));
            slot.plainSize += count;
            if (count < piece.size()) break;
        }
        before = {slot.begin(), slot.plainSize};
        return slot.plainSize != 0;
    };
    const auto work = [&](std::size_t i) { compress(*slots[i], options.blockChecksums); };
    const auto write = [&](std::size_t i) { sink.write(slots[i]->result); };
    runPipeline(threads, slots.size(), {read, work, write});

    if (descriptor.contentSize && source.position() - start != *descriptor.contentSize) {
        throw DataError("the file changed its size while it was compressed");
    }
    sink.write(frameEnd(contentHash, options.contentChecksum));
}

}  // namespace ozrz::lz4
