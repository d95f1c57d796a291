// Reads members. Blocks are decoded in parallel.
#include <memory>

#include "error.h"
#include "formats/lzo/block_decoder.h"
#include "formats/lzo/codec.h"
#include "pipeline.h"

namespace ozrz::lzo {
namespace {

void decodeMember(MemberReader& reader, Sink& sink, unsigned threads, std::vector<Block>& blocks) {
    const auto read = [&](std::size_t i) {
        Block& block = blocks[i];
        if (!reader.nextBlock(block.header)) return false;
        reader.readData(block.header, block.data());
        return true;
    };
    const auto work = [&](std::size_t i) {
        try {
            blocks[i].decode(reader.header().filter);
        } catch (const DataError& reason) {
            throw DataError(reader.nameOf(blocks[i].header) + " is damaged: " + reason.what());
        }
    };
    const auto write = [&](std::size_t i) { sink.write(blocks[i].content()); };
    runPipeline(threads, blocks.size(), {read, work, write});
}

}  // namespace

void decode(Source& source, Sink& sink, const DecodeSettings& settings) {
    // What is whole in one look ahead is done sooner than threads are started.
    const unsigned threads = source.peek(Source::kMaxPeek).size() < Source::kMaxPeek ? 1 : settings.threads;
    std::vector<Block> blocks(pipelineSlots(threads));
    MemberReader reader(source, settings.warn);
    while (reader.nextMember()) decodeMember(reader, sink, threads, blocks);
}

}  // namespace ozrz::lzo
