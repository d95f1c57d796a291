// What the match search makes of a piece of the source, and what is counted of it.
#pragma once

#include <array>

#include "bytes.h"
#include "formats/deflate/symbols.h"

namespace ozrz::deflate {

// How often each symbol occurs.
struct Histogram {
    std::array<uint32_t, kLitLenSymbols> litLen{};
    std::array<uint32_t, kDistSymbols> dist{};

    void add(const Histogram& other) {
        for (std::size_t i = 0; i < kLitLenSymbols; ++i) litLen[i] += other.litLen[i];
        for (std::size_t i = 0; i < kDistSymbols; ++i) dist[i] += other.dist[i];
    }
};

// Literals and matches: `lengths` has the literal, or the length less 3, where `distances` has 0, or the distance.
struct Records {
    const uint8_t* lengths = nullptr;
    const uint16_t* distances = nullptr;
    std::size_t count = 0;
};

// Counts the symbols of records; returns how many bytes they stand for.
std::size_t count(const Records& records, Histogram& histogram);

// A run of records that shares its codes, with the bytes that it stands for.
struct Block {
    Records records{};
    Bytes source{};
    Histogram histogram{};  // without the end of the block
};

}  // namespace ozrz::deflate
