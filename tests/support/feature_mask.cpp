#include "support/feature_mask.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>

#include "checksum/adler32_runs.h"
#include "core/features.h"

namespace {

constexpr uint64_t kAllFeatures = ~uint64_t{0};
constexpr std::size_t kRemembered = 16;

std::atomic<uint64_t> visibleFeatures{kAllFeatures};
// Not a counter with fetch_add: the locked instruction would weigh on benchmarks, and nothing listens to several
// threads.
std::array<std::atomic<uint64_t>, kRemembered> questions{};
std::atomic<std::size_t> questionCount{0};

}  // namespace

extern "C" uint64_t ownGetFeature(uint64_t mask) noexcept {
    const std::size_t n = questionCount.load(std::memory_order_relaxed);
    if (n < kRemembered) questions[n].store(mask, std::memory_order_relaxed);
    questionCount.store(n + 1, std::memory_order_relaxed);
    return ozrdc::test::presentFeatures(mask) & visibleFeatures.load(std::memory_order_relaxed);
}

// Adler-32 looks at no feature of the query; here wide vectors hide with the others.
extern "C" std::size_t ozrdcAdler32AddAllRuns(ozrdc::adler32::Sums& sums, const uint8_t* p, std::size_t len) noexcept {
    static const bool isPresent = __builtin_cpu_supports("avx2") != 0;
    const bool isVisible = visibleFeatures.load(std::memory_order_relaxed) == kAllFeatures;
    return isPresent && isVisible ? ozrdc::adler32::addAllRuns32(sums, p, len)
                                  : ozrdc::adler32::addAllRuns16(sums, p, len);
}

namespace ozrdc::test {

FeatureMask::FeatureMask(uint64_t visible) noexcept {
    visibleFeatures.store(visible, std::memory_order_relaxed);
    questionCount.store(0, std::memory_order_relaxed);
}
FeatureMask::~FeatureMask() { visibleFeatures.store(kAllFeatures, std::memory_order_relaxed); }

uint64_t presentFeatures(uint64_t mask) noexcept {
    static const uint64_t present = (__builtin_cpu_supports("sse4.2") ? kFeatureCrc32Instruction : 0) |
                                    (__builtin_cpu_supports("pclmul") ? kFeatureCarrylessMultiply : 0);
    return present & mask;
}

std::vector<uint64_t> featureQuestions() {
    const std::size_t n = std::min(questionCount.load(std::memory_order_relaxed), kRemembered);
    return {questions.begin(), questions.begin() + static_cast<std::ptrdiff_t>(n)};
}

}  // namespace ozrdc::test
