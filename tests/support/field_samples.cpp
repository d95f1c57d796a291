// See the header.
#include "support/field_samples.h"

#include <array>
#include <cmath>
#include <stdexcept>

namespace ozrdc::test {
namespace {

// A number in [-1, 1) that depends on a place of a lattice and a seed.
double noiseAt(int64_t x, int64_t y, int64_t z, uint64_t seed) {
    uint64_t h = seed;
    for (const int64_t c : {x, y, z}) {
        h = (h ^ static_cast<uint64_t>(c)) * 0x9E3779B97F4A7C15;
        h ^= h >> 29;
        h *= 0xBF58476D1CE4E5B9;
        h ^= h >> 32;
    }
    return static_cast<double>(h >> 11) * 0x1p-52 - 1;
}

// Noise of a lattice, interpolated with a smooth slope.
double lattice(double x, double y, double z, uint64_t seed) {
    const std::array<double, 3> at{x, y, z};
    std::array<int64_t, 3> cell{};
    std::array<double, 3> weight{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double floor = std::floor(at[axis]);
        const double t = at[axis] - floor;
        cell[axis] = static_cast<int64_t>(floor);
        weight[axis] = t * t * (3 - 2 * t);
    }
    double sum = 0;
    for (unsigned corner = 0; corner < 8; ++corner) {
        double share = 1;
        std::array<int64_t, 3> place = cell;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const bool upper = (corner >> axis & 1) != 0;
            share *= upper ? weight[axis] : 1 - weight[axis];
            place[axis] += upper ? 1 : 0;
        }
        sum += share * noiseAt(place[0], place[1], place[2], seed);
    }
    return sum;
}

template <typename Value>
Field fill(std::size_t nx, std::size_t ny, std::size_t nz, Value value) {
    Field field{nx, ny, nz, {}};
    field.values.reserve(nx * ny * nz);
    for (std::size_t z = 0; z < nz; ++z) {
        for (std::size_t y = 0; y < ny; ++y) {
            for (std::size_t x = 0; x < nx; ++x) {
                field.values.push_back(
                    static_cast<float>(value(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z))));
            }
        }
    }
    return field;
}

double waves(double x, double y, double z, uint64_t seed) {
    const auto phase = static_cast<double>(seed % 100);
    return std::sin(0.061 * x + 0.043 * y + 0.1 * phase) + 0.7 * std::cos(0.05 * y - 0.037 * z + 0.2 * phase) +
           0.4 * std::sin(0.09 * z + 0.021 * x);
}

Field smooth(std::size_t nx, std::size_t ny, std::size_t nz, uint64_t seed) {
    return fill(nx, ny, nz, [seed](double x, double y, double z) { return waves(x, y, z, seed); });
}

Field turbulent(std::size_t nx, std::size_t ny, std::size_t nz, uint64_t seed) {
    return fill(nx, ny, nz, [seed](double x, double y, double z) {
        // Half the size, and an amplitude that falls with the cube root of the size.
        double size = 64;
        double sum = 0;
        for (uint64_t octave = 0; octave < 7; ++octave, size /= 2) {
            sum += std::cbrt(size / 64) * lattice(x / size, y / size, z / size, seed + 1000 * octave);
        }
        return sum;
    });
}

Field noisy(std::size_t nx, std::size_t ny, std::size_t nz, uint64_t seed) {
    return fill(nx, ny, nz, [seed](double x, double y, double z) {
        const double noise = noiseAt(static_cast<int64_t>(x), static_cast<int64_t>(y), static_cast<int64_t>(z), seed);
        return waves(x, y, z, seed) + 0.2 * noise;
    });
}

}  // namespace

std::span<const FieldKind> fieldKinds() {
    static constexpr std::array<FieldKind, 3> kinds{{{"smooth", smooth}, {"turbulent", turbulent}, {"noisy", noisy}}};
    return kinds;
}

const FieldKind& fieldKind(const std::string& name) {
    for (const FieldKind& kind : fieldKinds()) {
        if (name == kind.name) return kind;
    }
    throw std::invalid_argument("no field is called " + name);
}

}  // namespace ozrdc::test
