// The three jobs of the LZ4 frame format: compress, decompress, list.
#pragma once

#include "formats/format.h"
#include "formats/lz4/frame_reader.h"

namespace ozrz::lz4 {

struct FrameOptions {
    unsigned blockSizeCode = kMaxBlockSizeCode;
    bool linkedBlocks = false;
    bool blockChecksums = false;
    bool contentChecksum = true;
    bool contentSize = false;
};

void encode(Source& source, Sink& sink, const FrameOptions& options, const EncodeSettings& settings);

void decode(Source& source, Sink& sink, const DecodeSettings& settings);

Listing list(Source& source, const DecodeSettings& settings);

// Decodes and checks the frame that `reader` has just moved to, up to its end. Keeps its memory from frame to frame.
class FrameDecoder {
  public:
    FrameDecoder(FrameReader& reader, Sink& sink, const DecodeSettings& settings);
    ~FrameDecoder();
    FrameDecoder(const FrameDecoder&) = delete;
    FrameDecoder& operator=(const FrameDecoder&) = delete;

    void decodeFrame();

  private:
    struct Slot;

    Bytes usableDictionary() const;
    void prepareSlots(std::size_t count, Bytes dictionary);
    void decodeSlot(Slot& slot) const;
    void checkEnd(uint64_t contentSize, uint32_t contentHash);

    FrameReader& reader_;
    Sink& sink_;
    const DecodeSettings& settings_;
    std::vector<std::unique_ptr<Slot>> slots_;
};

}  // namespace ozrz::lz4
