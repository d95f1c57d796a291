// Run-length coding and checksums, on pieces that the processor's cache holds.
#include "formats/bzip2/run_reader.h"

#include "formats/bzip2/layout.h"
#include "formats/bzip2/library.h"

namespace ozrz::bzip2 {
namespace {

constexpr std::size_t kPieceSize = 128 * KiB;

// The bzip2 command never fills the last bytes of a block, so that these are what readers have met least.
constexpr std::size_t kUnusedBytes = 19;

}  // namespace

RunReader::RunReader(Source& source, int level)
    : source_(source),
      blockSize_(blockSizeOfLevel(level) - kUnusedBytes),
      state_(sizeFrom(ozrsRLEGetSize_BZ2_8u)),
      piece_(kPieceSize) {}

bool RunReader::refill() {
    if (rest_.empty()) rest_ = {piece_.data(), source_.read({piece_.data(), kPieceSize})};
    return !rest_.empty();
}

bool RunReader::next(RunBlock& block) {
    auto* state = stateIn<RLEState>(state_);
    expectOk(ozrsEncodeRLEInit_BZ2_8u(state), "run-length coding");
    block.bytes.require(blockSize_);
    block.size = 0;
    block.crc = 0;
    // One byte is kept for the count of a run that is open at the end.
    const std::size_t room = blockSize_ - 1;
    bool full = false;
    while (!full && block.size < room && refill()) {
        const uint8_t* next = rest_.data();
        auto left = static_cast<int32_t>(rest_.size());
        auto written = static_cast<int32_t>(room - block.size);
        const Status status = ozrsEncodeRLE_BZ2_8u(&next, &left, block.bytes.data() + block.size, &written, state);
        full = status == StatusDestinationFull;
        if (!full) expectOk(status, "run-length coding");
        const auto taken = static_cast<std::size_t>(next - rest_.data());
        if (taken != 0) {
            expectOk(ozrsCRC32_BZ2_8u(rest_.data(), static_cast<int32_t>(taken), &block.crc), "the CRC");
        }
        rest_ = rest_.subspan(taken);
        block.size += static_cast<std::size_t>(written);
    }
    if (block.size == 0) return false;
    int32_t last = 1;
    expectOk(ozrsEncodeRLEFlush_BZ2_8u(block.bytes.data() + block.size, &last, state), "run-length coding");
    block.size += static_cast<std::size_t>(last);
    expectOk(ozrsRLEGetInUseTable_8u(block.inUse.data(), state), "run-length coding");
    return true;
}

}  // namespace ozrz::bzip2
