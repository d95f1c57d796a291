// From levels to the library's encoders.
#include "formats/lz4/block_encoder.h"

#include <ozrdc.h>

#include <algorithm>
#include <array>
#include <vector>

#include "error.h"
#include "formats/lz4/frame.h"

namespace ozrz::lz4 {
namespace {

constexpr int kLowestHighLevel = 3;

int32_t sizeOf(Bytes bytes) { return static_cast<int32_t>(bytes.size()); }

void check(Status status) {
    if (status != StatusOk) throw Error("the LZ4 encoder failed with status " + std::to_string(status));
}

// A hash table. For a block with history it begins as the table of that history.
class HashTableEncoder final : public BlockEncoder {
    using Table = std::vector<uint8_t>;

  public:
    HashTableEncoder(int acceleration, Bytes dictionary)
        : acceleration_(std::max(acceleration, 1)), dictionary_(dictionary), table_(tableSize()) {
        if (dictionary.empty()) return;
        load(dictionary);
        loaded_ = table_;
    }

    std::size_t encode(Bytes block, std::size_t history, uint8_t* into) override {
        int32_t length = 0;
        if (history != 0) {
            load({block.data() - history, history});
            check(ozrsEncodeLZ4Dict_8u(block.data(), static_cast<int32_t>(history), sizeOf(block), into, &length,
                                       table_.data(), nullptr, 0));
        } else if (!dictionary_.empty()) {
            table_ = loaded_;
            check(ozrsEncodeLZ4Dict_8u(block.data(), sizeOf(dictionary_), sizeOf(block), into, &length, table_.data(),
                                       dictionary_.data(), sizeOf(dictionary_)));
        } else {
            check(ozrsEncodeLZ4Fast_8u(block.data(), sizeOf(block), into, &length, table_.data(), acceleration_));
        }
        return static_cast<std::size_t>(length);
    }

  private:
    static std::size_t tableSize() {
        int32_t size = 0;
        check(ozrsEncodeLZ4HashTableGetSize_8u(&size));
        return static_cast<std::size_t>(size);
    }

    void load(Bytes history) {
        check(ozrsEncodeLZ4DictHashTableInit_8u(table_.data(), sizeOf(history)));
        check(ozrsEncodeLZ4LoadDict_8u(table_.data(), history.data(), sizeOf(history)));
    }

    int acceleration_;
    Bytes dictionary_;
    Table table_;
    Table loaded_;  // with the dictionary
};

// Hash chains. History gets into them by being compressed itself, as fast as that goes.
class ChainEncoder final : public BlockEncoder {
    struct Tables {
        std::vector<uint8_t> heads;
        std::vector<uint8_t> chains;

        std::array<uint8_t*, 2> pointers() { return {heads.data(), chains.data()}; }
    };

  public:
    ChainEncoder(int level, Bytes dictionary) : level_(level), dictionary_(dictionary) {
        uint32_t heads = 0;
        uint32_t chains = 0;
        check(ozrsEncodeLZ4HCHashTableGetSize_8u(&heads, &chains));
        tables_.heads.resize(heads);
        tables_.chains.resize(chains);
        if (dictionary.empty()) return;
        enter(dictionary);
        entered_ = tables_;
    }

    std::size_t encode(Bytes block, std::size_t history, uint8_t* into) override {
        if (history != 0) {
            enter({block.data() - history, history});
        } else if (!dictionary_.empty()) {
            tables_ = entered_;
            return run(block, dictionary_.size(), into, dictionary_, level_);
        } else {
            clear();
        }
        return run(block, history, into, {}, level_);
    }

  private:
    void clear() { check(ozrsEncodeLZ4HCHashTableInit_8u(tables_.pointers().data())); }

    void enter(Bytes history) {
        clear();
        scratch_.resize(compressedBound(kMaxDistance));
        run(history, 0, scratch_.data(), {}, 1);
    }

    std::size_t run(Bytes block, std::size_t position, uint8_t* into, Bytes dictionary, int level) {
        int32_t size = sizeOf(block);
        auto length = static_cast<int32_t>(compressedBound(block.size()));
        check(ozrsEncodeLZ4HC_8u(block.data(), static_cast<int32_t>(position), &size, into, &length,
                                 tables_.pointers().data(), dictionary.data(), sizeOf(dictionary), level));
        return static_cast<std::size_t>(length);
    }

    int level_;
    Bytes dictionary_;
    Tables tables_;
    Tables entered_;  // with the dictionary
    std::vector<uint8_t> scratch_;
};

}  // namespace

std::unique_ptr<BlockEncoder> makeBlockEncoder(int level, int acceleration, Bytes dictionary) {
    if (acceleration == 0 && level >= kLowestHighLevel) return std::make_unique<ChainEncoder>(level, dictionary);
    return std::make_unique<HashTableEncoder>(acceleration, dictionary);
}

}  // namespace ozrz::lz4
