// Run-length coding and checksums, on pieces that the processor's cache holds.
#include "formats/bzip2/run_reader.h"

#include <ozrdc/checksum.hpp>

#include "formats/bzip2/layout.h"
#include "library.h"

namespace ozrz::bzip2 {
namespace {

constexpr const char* kStage = "run-length coding";  // for messages

constexpr std::size_t kPieceSize = 128 * KiB;

// The bzip2 command never fills the last bytes of a block, so that these are what readers have met least.
constexpr std::size_t kUnusedBytes = 19;

}  // namespace

RunReader::RunReader(Source& source, int level)
    : source_(source),
      blockSize_(blockSizeOfLevel(level) - kUnusedBytes),
      encoder_(expect(ozrdc::bz2::RunLengthEncoder::create(), kStage)),
      piece_(kPieceSize) {}

bool RunReader::refill() {
    if (rest_.empty()) rest_ = {piece_.data(), source_.read({piece_.data(), kPieceSize})};
    return !rest_.empty();
}

bool RunReader::next(RunBlock& block) {
    expect(encoder_.reset(), kStage);
    block.bytes.require(blockSize_);
    block.size = 0;
    ozrdc::Crc32Bz2 crc;
    // One byte is kept for the count of a run that is open at the end.
    const MutableBytes room(block.bytes.data(), blockSize_ - 1);
    bool full = false;
    while (!full && block.size < room.size() && refill()) {
        const auto progress = expect(encoder_.update(rest_, room.subspan(block.size)), kStage);
        full = progress.status == StatusDestinationFull;
        crc.update(rest_.first(progress.consumed));
        rest_ = rest_.subspan(progress.consumed);
        block.size += progress.produced;
    }
    if (block.size == 0) return false;
    block.size += expect(encoder_.finish(MutableBytes(block.bytes.data() + block.size, 1)), kStage).produced;
    block.inUse = expect(encoder_.inUse(), kStage);
    block.crc = crc.value();
    return true;
}

}  // namespace ozrz::bzip2
