// Reads members. Blocks are decoded in parallel.
#include <vector>

#include "error.h"
#include "formats/lzss/block.h"
#include "formats/lzss/codec.h"
#include "formats/lzss/member_reader.h"
#include "pipeline.h"
#include "text.h"

namespace ozrz::lzss {
namespace {

class Decoder {
  public:
    Decoder(Source& source, Sink& sink, const DecodeSettings& settings, unsigned threads)
        : sink_(sink),
          settings_(settings),
          threads_(threads),
          reader_(source, settings.warn),
          slots_(pipelineSlots(threads)) {}

    void decode() {
        while (reader_.nextMember()) decodeMember();
        if (lost_ != 0) {
            throw DataError(countText(lost_, "block") + (lost_ == 1 ? " is" : " are") + " damaged; " +
                            countText(intact_, "block") + (intact_ == 1 ? " is" : " are") + " intact");
        }
    }

  private:
    struct Slot {
        BlockDecoder block;
        std::string damage;  // empty: none
    };

    void decodeMember() {
        const auto read = [&](std::size_t i) {
            BlockDecoder& block = slots_[i].block;
            if (!reader_.nextBlock(block.header)) return false;
            reader_.readData(block.header, block.data());
            return true;
        };
        const auto work = [&](std::size_t i) { decodeBlock(slots_[i]); };
        const auto write = [&](std::size_t i) {
            if (!slots_[i].damage.empty()) {
                settings_.warn(slots_[i].damage);
                ++lost_;
            } else {
                sink_.write(slots_[i].block.content());
                ++intact_;
            }
        };
        runPipeline(threads_, slots_.size(), {read, work, write});
    }

    void decodeBlock(Slot& slot) const {
        slot.damage.clear();
        try {
            slot.block.decode();
        } catch (const DataError& reason) {
            const std::string damage = reader_.nameOf(slot.block.header) + " is damaged: " + reason.what();
            if (!settings_.recover) throw DataError(damage);
            slot.damage = damage;
        }
    }

    Sink& sink_;
    const DecodeSettings& settings_;
    unsigned threads_;
    MemberReader reader_;
    std::vector<Slot> slots_;
    uint64_t lost_ = 0;
    uint64_t intact_ = 0;
};

}  // namespace

void decode(Source& source, Sink& sink, const DecodeSettings& settings) {
    // What is whole in one look ahead is done sooner than threads are started.
    const unsigned threads = source.peek(Source::kMaxPeek).size() < Source::kMaxPeek ? 1 : settings.threads;
    Decoder(source, sink, settings, threads).decode();
}

}  // namespace ozrz::lzss
