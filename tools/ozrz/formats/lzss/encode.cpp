// Writes one member, its blocks compressed in parallel.
#include <memory>
#include <ozrdc/checksum.hpp>
#include <vector>

#include "formats/lzss/block.h"
#include "formats/lzss/codec.h"
#include "pipeline.h"

namespace ozrz::lzss {
namespace {

// Large enough that a block's beginning, which finds no matches yet, costs little.
constexpr unsigned kBlockSizeLog = 20;
constexpr std::size_t kBlockSize = std::size_t{1} << kBlockSizeLog;

}  // namespace

void encode(Source& source, Sink& sink, const EncodeSettings& settings) {
    sink.write(headerFor(kBlockSizeLog));

    const std::optional<uint64_t> knownSize = settings.source.size;
    const unsigned threads = knownSize && *knownSize <= kBlockSize ? 1 : settings.threads;
    std::vector<std::unique_ptr<BlockEncoder>> blocks(pipelineSlots(threads));
    for (auto& block : blocks) block = std::make_unique<BlockEncoder>(kBlockSize);
    ozrdc::Crc32c headersCrc;

    const auto read = [&](std::size_t i) {
        blocks[i]->size = source.read(blocks[i]->room());
        return blocks[i]->size != 0;
    };
    const auto work = [&](std::size_t i) { blocks[i]->encode(); };
    const auto write = [&](std::size_t i) {
        headersCrc.update(blocks[i]->result().first(kBlockHeaderSize));
        sink.write(blocks[i]->result());
    };
    runPipeline(threads, blocks.size(), {read, work, write});

    std::array<uint8_t, 8> end{};
    storeLittleEndian(end.data() + 4, headersCrc.value());
    sink.write(end);
}

}  // namespace ozrz::lzss
