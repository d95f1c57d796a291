// Decodes Deflate streams, block after block, into memory that is handed over piece by piece.
#pragma once

#include <ozrdc.h>

#include "formats/deflate/bit_reader.h"

namespace ozrz::deflate {

// Memory that is being filled.
struct Output {
    const uint8_t* history;  // from here on the bytes may be referred to
    uint8_t* next;
    uint8_t* end;
};

class Inflater {
  public:
    explicit Inflater(BitReader& in) : in_(in) {}

    // A stream begins where the reader stands.
    void begin();

    // Decodes until the stream ends (true) or the output is full (false). Then the reader stands behind the stream, or
    // the call is repeated with other memory that has the last `kWindowSize` bytes in front of it. Throws DataError;
    // what is in the output then is good.
    bool decode(Output& out);

  private:
    enum class Step { blockHeader, stored, symbols, end };

    void readBlockHeader();
    void readStoredHeader();
    bool copyStored(Output& out);
    bool decodeSymbols(Output& out);
    [[noreturn]] void failDamaged(const std::string& reason) const;

    BitReader& in_;
    Step step_ = Step::end;
    bool lastBlock_ = false;
    uint64_t blocks_ = 0;
    uint64_t blockPosition_ = 0;
    std::size_t storedLeft_ = 0;
    uint32_t mode_ = 0;
    InflateState state_{};
};

}  // namespace ozrz::deflate
