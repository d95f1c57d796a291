// XXH32 with seed 0, the checksum of LZ4 frames, of a whole message and of one given in pieces.
#pragma once

#include <memory>

#include "bytes.h"

namespace ozrz::lz4 {

uint32_t xxh32(Bytes bytes);

class Xxh32 {
  public:
    Xxh32();
    ~Xxh32();
    Xxh32(const Xxh32&) = delete;
    Xxh32& operator=(const Xxh32&) = delete;

    void update(Bytes bytes);
    uint32_t digest() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace ozrz::lz4
