#include "support/feature_mask.h"

#include <atomic>

#include "core/features.h"

namespace {

constexpr uint64_t kAllFeatures = ~uint64_t{0};

std::atomic<uint64_t> visibleFeatures{kAllFeatures};
std::atomic<uint64_t> queries{0};

}  // namespace

extern "C" uint64_t ownGetFeature(uint64_t mask) noexcept {
    // Not fetch_add: the locked instruction would weigh on benchmarks, and nothing counts from several threads.
    queries.store(queries.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    return ozrdc::test::presentFeatures(mask) & visibleFeatures.load(std::memory_order_relaxed);
}

namespace ozrdc::test {

FeatureMask::FeatureMask(uint64_t visible) noexcept { visibleFeatures.store(visible, std::memory_order_relaxed); }
FeatureMask::~FeatureMask() { visibleFeatures.store(kAllFeatures, std::memory_order_relaxed); }

uint64_t presentFeatures(uint64_t mask) noexcept {
    static const uint64_t present = (__builtin_cpu_supports("sse4.2") ? kFeatureCrc32Instruction : 0) |
                                    (__builtin_cpu_supports("pclmul") ? kFeatureCarrylessMultiply : 0);
    return present & mask;
}

uint64_t featureQueries() noexcept { return queries; }

}  // namespace ozrdc::test
