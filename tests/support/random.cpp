// The seed of the run, and the note about it that a failing test prints.
#include "support/random.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ozrdc::test {
namespace {

constexpr uint64_t kDefaultSeed = 20250509;

uint64_t seedOfEnvironment() {
    const char* text = std::getenv("OZRDC_TEST_SEED");
    return text != nullptr && *text != '\0' ? std::strtoull(text, nullptr, 0) : kDefaultSeed;
}

// Prints the seed once for every test that fails.
class SeedPrinter : public ::testing::EmptyTestEventListener {
    void OnTestEnd(const ::testing::TestInfo& info) override {
        if (info.result() == nullptr || !info.result()->Failed()) return;
        std::printf("to repeat with the same random data: OZRDC_TEST_SEED=%llu\n",
                    static_cast<unsigned long long>(runSeed()));
        std::fflush(stdout);
    }
};

}  // namespace

uint64_t runSeed() {
    static const uint64_t seed = [] {
        // The listeners own what is appended to them.
        ::testing::UnitTest::GetInstance()->listeners().Append(new SeedPrinter);
        return seedOfEnvironment();
    }();
    return seed;
}

void Random::fill(std::span<uint8_t> bytes) {
    while (bytes.size() >= sizeof(uint64_t)) {
        const uint64_t word = next();
        std::memcpy(bytes.data(), &word, sizeof word);
        bytes = bytes.subspan(sizeof word);
    }
    for (uint8_t& b : bytes) b = byte();
}

}  // namespace ozrdc::test
