// A whole Deflate stream through the library's decoder, one block after the other: what a caller writes around it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ozrdc.h"

namespace ozrdc::bench {

// Where the decoded bytes go.
struct DeflateSink {
    uint8_t* next;
    uint32_t room;
    uint32_t history;  // bytes in front of `next` in the same memory
    uint32_t windowIndex;
};

class DeflateStream {
  public:
    // The source is handed to the decoder in pieces of `piece` bytes.
    DeflateStream(const uint8_t* source, size_t size, size_t piece)
        : next_(source), end_(source + size), piece_(piece) {
        state_.pWindow = nullptr;
        state_.winSize = 0;
    }

    void setWindow(std::vector<uint8_t>& window) {
        state_.pWindow = window.data();
        state_.winSize = static_cast<uint32_t>(window.size());
    }

    enum class Result { kEnd, kMoreRoom, kBroken };

    // Decodes until the stream ends or the sink is full.
    Result decode(DeflateSink& sink);

  private:
    bool nextPiece();
    void pull(unsigned count);
    uint32_t take(unsigned count);
    bool beginBlock();
    bool readDynamicHeader();
    Result copyStored(DeflateSink& sink);

    const uint8_t* next_;
    const uint8_t* end_;
    size_t piece_;
    uint32_t left_ = 0;  // in the current piece
    uint32_t code_ = 0;
    uint32_t codeBits_ = 0;
    uint32_t mode_ = 0;
    bool inBlock_ = false;
    bool lastBlock_ = false;
    bool stored_ = false;
    uint32_t storedLeft_ = 0;
    InflateState state_;
};

}  // namespace ozrdc::bench
