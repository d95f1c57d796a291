// A fixture that runs a test on every path of the checksums.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/feature_mask.h"

namespace ozrdc::test {

struct FeatureSet {
    const char* name;
    uint64_t visible;
};

class EveryPath : public testing::TestWithParam<FeatureSet> {
  protected:
    void SetUp() override {
        constexpr uint64_t kAll = ~uint64_t{0};
        // Without the instructions the masks would all give the path of the tables, and the test would say nothing.
        if (GetParam().visible != 0 && presentFeatures(kAll & GetParam().visible) == 0) {
            GTEST_SKIP() << "this processor lacks " << GetParam().name;
        }
    }

  private:
    FeatureMask mask_{GetParam().visible};
};

inline auto everyFeatureSet() {
    return testing::Values(FeatureSet{"tables", 0}, FeatureSet{"crc_instruction", 0x80},
                           FeatureSet{"carryless_multiply", 0x800}, FeatureSet{"all", ~uint64_t{0}});
}

inline std::string nameOf(const testing::TestParamInfo<FeatureSet>& info) { return info.param.name; }

}  // namespace ozrdc::test

#define OZRDC_ON_EVERY_PATH(fixture) \
    INSTANTIATE_TEST_SUITE_P(Features, fixture, ozrdc::test::everyFeatureSet(), ozrdc::test::nameOf)
