// Puts strings of bits behind each other into a sink.
#pragma once

#include "sink.h"

namespace ozrz::bzip2 {

class BitJoiner {
  public:
    // How many bytes behind a string of bits are read, and written over.
    static constexpr std::size_t kSlack = 16;

    explicit BitJoiner(Sink& sink) : sink_(sink) {}

    // Appends `count` bits, most significant first. They are moved within their memory, whose contents are lost.
    void append(uint8_t* bits, std::size_t count);

    // Writes the last bits, filled up with zeros.
    void finish();

  private:
    Sink& sink_;
    uint8_t rest_ = 0;  // bits that fill no byte yet, left-aligned
    unsigned restBits_ = 0;
};

}  // namespace ozrz::bzip2
