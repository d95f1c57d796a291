// Looks up one symbol at a time, in the tables of either kind.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/unaligned.h"
#include "inflate/tables.h"
#include "inflate/widen_tables.h"

namespace ozrdc::inflate {

struct Symbol {
    enum Kind { kInvalid, kLiteral, kEndOfBlock, kMatch };
    Kind kind = kInvalid;
    uint32_t codeBits = 0;   // of the code alone; 0 if it is invalid whatever comes
    uint32_t value = 0;      // the literal, or the shortest length or distance of the code
    uint32_t extraBits = 0;  // how many bits behind the code are added to the value
};

class GeneralTables {
  public:
    explicit GeneralTables(const GeneralLayout& layout) noexcept : layout_(&layout) {}

    [[nodiscard]] const GeneralLayout& layout() const noexcept { return *layout_; }

    [[nodiscard]] Symbol litLen(uint64_t bits) const noexcept {
        const auto [e, before] = find<kLitLenRootBits>(layout_->litLen, bits);
        if (e & entry::kLiteral) return {Symbol::kLiteral, before + bitsToTake(e), entry::literal(e), 0};
        const unsigned codeBits = before + entry::codeBits(e);
        const auto length = static_cast<uint32_t>(entry::length(e));
        // The extra bits are taken apart from the code here, and may not even be there yet. Only a damaged entry has a
        // code of 64 bits and above.
        const unsigned inIndex = static_cast<uint32_t>(bits >> (codeBits & 63)) & ((1U << extraBits(e)) - 1);
        if (e & entry::kLength) return {Symbol::kMatch, codeBits, length - inIndex, extraBits(e)};
        if (entry::sort(e) == entry::kLongLength) return {Symbol::kMatch, codeBits, length, extraBits(e)};
        return {entry::sort(e) == entry::kEndOfBlock ? Symbol::kEndOfBlock : Symbol::kInvalid, codeBits, 0, 0};
    }
    [[nodiscard]] Symbol dist(uint64_t bits) const noexcept {
        const auto [e, before] = find<kDistRootBits>(layout_->dist, bits);
        return {e & entry::kDistance ? Symbol::kMatch : Symbol::kInvalid, before + entry::codeBits(e),
                entry::baseDistance(e), extraBits(e)};
    }

  private:
    static unsigned bitsToTake(Entry e) noexcept { return static_cast<unsigned>(entry::bitsToTake(e)); }
    static unsigned extraBits(Entry e) noexcept { return (bitsToTake(e) - entry::codeBits(e)) & 15; }

    struct Found {
        Entry entry;
        unsigned before;  // bits of the code in front of the entry's level
    };

    template <unsigned kRootBits, size_t kSize>
    static Found find(const std::array<Entry, kSize>& table, uint64_t bits) noexcept {
        const Entry e = table[bits & ((1U << kRootBits) - 1)];
        if (entry::sort(e) != entry::kLink) return {e, 0};
        const size_t index = entry::linkedIndex(e) + (bits >> kRootBits & ((1U << entry::linkedBits(e)) - 1));
        return {index < kSize ? table[index] : Entry{entry::kInvalid}, kRootBits};
    }

    const GeneralLayout* layout_;
};

class ShortTables {
  public:
    explicit ShortTables(const InflateState& state) noexcept
        : layout_(state.tables, state.maxLitLen), maxLitLen_(state.maxLitLen), maxDistLen_(state.maxDistLen) {}

    // Writes the same tables in the layout of the general kind.
    void widen(GeneralLayout& to) const noexcept { widenTables(layout_, maxLitLen_, maxDistLen_, to); }

    [[nodiscard]] Symbol litLen(uint64_t bits) const noexcept {
        const unsigned e = load16(layout_.litLen + (bits & ((1U << maxLitLen_) - 1)) * sizeof(ShortEntry));
        const unsigned codeBits = e & 15;
        const unsigned type = e >> short_entry::kTypeShift & 15;
        const unsigned value = e >> short_entry::kValueShift;
        if (codeBits == 0) return {};
        if (type == 0) return {Symbol::kLiteral, codeBits, value, 0};
        if (type == short_entry::kEndOfBlockType) return {Symbol::kEndOfBlock, codeBits, 0, 0};
        if (type < short_entry::kLengthType) return {Symbol::kInvalid, codeBits, 0, 0};
        return {Symbol::kMatch, codeBits, value + deflate::kMinMatch, type - short_entry::kLengthType};
    }
    [[nodiscard]] Symbol dist(uint64_t bits) const noexcept {
        const size_t index = bits & ((1U << maxDistLen_) - 1);
        const unsigned e = layout_.distBits[index];
        if ((e & 15) == 0) return {};
        return {Symbol::kMatch, e & 15, load16(layout_.distBases + index * sizeof(uint16_t)),
                e >> short_entry::kTypeShift};
    }

  private:
    ShortLayout<const uint8_t> layout_;
    unsigned maxLitLen_;
    unsigned maxDistLen_;
};

}  // namespace ozrdc::inflate
