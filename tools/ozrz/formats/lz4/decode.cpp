// Reads LZ4 frames. Independent blocks are decoded in parallel; linked ones in order, each behind its predecessor.
#include <algorithm>

#include "error.h"
#include "formats/lz4/block_decoder.h"
#include "formats/lz4/codec.h"
#include "formats/lz4/xxh32.h"
#include "pipeline.h"
#include "text.h"

namespace ozrz::lz4 {
namespace {

std::string mismatch(uint32_t computed, uint32_t expected) {
    return "its checksum is " + hexText(computed) + ", but should be " + hexText(expected);
}

}  // namespace

// A block on its way.
struct FrameDecoder::Slot {
    BlockHeader header;
    Buffer data;  // as in the source, with its checksum
    Window window;
    Bytes content;
};

FrameDecoder::FrameDecoder(FrameReader& reader, Sink& sink, const DecodeSettings& settings)
    : reader_(reader), sink_(sink), settings_(settings) {}

FrameDecoder::~FrameDecoder() = default;

Bytes FrameDecoder::usableDictionary() const {
    if (reader_.legacy()) return {};
    if (settings_.dictionary) return reachableEnd(settings_.dictionary);
    if (const auto id = reader_.descriptor().dictionaryId) {
        throw DataError("it needs the dictionary with the number " + std::to_string(*id) + ": give it with -D");
    }
    return {};
}

void FrameDecoder::prepareSlots(std::size_t count, Bytes dictionary) {
    while (slots_.size() < count) slots_.push_back(std::make_unique<Slot>());
    for (std::size_t i = 0; i < count; ++i) {
        slots_[i]->data.require(reader_.maxDataSize());
        slots_[i]->window.reset(reader_.maxBlockSize(), !reader_.descriptor().independentBlocks, dictionary);
    }
}

void FrameDecoder::decodeFrame() {
    const Descriptor& descriptor = reader_.descriptor();
    const bool oneBlock = descriptor.contentSize && *descriptor.contentSize <= descriptor.blockSize();
    const unsigned threads = descriptor.independentBlocks && !oneBlock ? settings_.threads : 1;
    const std::size_t slots = pipelineSlots(threads);
    prepareSlots(slots, usableDictionary());

    Xxh32 contentHash;
    uint64_t contentSize = 0;
    const auto read = [&](std::size_t i) {
        Slot& slot = *slots_[i];
        if (!reader_.nextBlock(slot.header)) return false;
        reader_.readBlock(slot.header, {slot.data.data(), slot.data.size()});
        return true;
    };
    const auto work = [&](std::size_t i) { decodeSlot(*slots_[i]); };
    const auto write = [&](std::size_t i) {
        const Bytes content = slots_[i]->content;
        contentSize += content.size();
        if (descriptor.contentChecksum) contentHash.update(content);
        sink_.write(content);
    };
    runPipeline(threads, slots, {read, work, write});
    checkEnd(contentSize, contentHash.digest());
}

void FrameDecoder::decodeSlot(Slot& slot) const {
    const Bytes data(slot.data.data(), slot.header.size);
    try {
        if (reader_.descriptor().blockChecksums) {
            const auto stored = loadLittleEndian<uint32_t>(slot.data.data() + slot.header.size);
            const uint32_t computed = xxh32(data);
            if (stored != computed) throw DataError(mismatch(computed, stored));
        }
        Window& window = slot.window;
        if (slot.header.stored && reader_.descriptor().independentBlocks) {
            slot.content = data;
            return;
        }
        uint8_t* place = window.next();
        std::size_t size = data.size();
        if (slot.header.stored) {
            std::copy(data.begin(), data.end(), place);
        } else {
            size = decodeBlock(data, place, reader_.maxBlockSize(), window.history());
        }
        slot.content = {place, size};
        window.append(size);
    } catch (const DataError& reason) {
        throw DataError(reader_.nameOf(slot.header) + " is damaged: " + reason.what());
    }
}

void FrameDecoder::checkEnd(uint64_t contentSize, uint32_t contentHash) {
    const Descriptor& descriptor = reader_.descriptor();
    if (descriptor.contentSize && *descriptor.contentSize != contentSize) {
        throw DataError(reader_.frameName() + " is damaged: its content has " + std::to_string(contentSize) +
                        " bytes, but should have " + std::to_string(*descriptor.contentSize));
    }
    if (!descriptor.contentChecksum) return;
    const uint32_t stored = reader_.readContentChecksum();
    if (stored != contentHash) {
        throw DataError("the content of " + reader_.frameName() + " is damaged: " + mismatch(contentHash, stored));
    }
}

void decode(Source& source, Sink& sink, const DecodeSettings& settings) {
    FrameReader reader(source, settings.warn);
    FrameDecoder decoder(reader, sink, settings);
    while (reader.nextFrame()) decoder.decodeFrame();
}

}  // namespace ozrz::lz4
