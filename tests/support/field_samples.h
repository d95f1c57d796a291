// Volumes of floats of several natures, always the same for one seed: what a simulation or an instrument might give.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace ozrdc::test {

// The value (x, y, z) stands at x + nx * (y + ny * z).
struct Field {
    std::size_t nx = 0;
    std::size_t ny = 0;
    std::size_t nz = 0;
    std::vector<float> values;

    float at(std::size_t x, std::size_t y, std::size_t z) const { return values[x + nx * (y + ny * z)]; }
};

struct FieldKind {
    const char* name;
    Field (*make)(std::size_t nx, std::size_t ny, std::size_t nz, uint64_t seed);
};

// "smooth": a few long waves. "turbulent": eddies of every size, the smaller the weaker, as in a fluid. "noisy": a wave
// under noise of a tenth of its height. All of them keep to about -3 to 3.
std::span<const FieldKind> fieldKinds();

// The kind of that name; the name must exist.
const FieldKind& fieldKind(const std::string& name);

}  // namespace ozrdc::test
