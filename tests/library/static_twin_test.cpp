// The static library, which this program is linked with, and the shared one, which it loads, give the same results.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "every_primitive.h"

namespace ozrdc::test {
namespace {

TEST(EveryPrimitive, HasAnExercise) {
    std::set<std::string> exercised;
    for (const Exercise& exercise : everyPrimitive()) exercised.insert(exercise.name);
    const std::set<std::string> exported{
#define OZRDC_EXPORT(name) #name,
#include "core/exports.inc"
#undef OZRDC_EXPORT
    };
    EXPECT_EQ(exercised, exported);
}

TEST(StaticTwin, GivesTheResultsOfTheSharedLibrary) {
    const std::unique_ptr<void, int (*)(void*)> handle(dlopen(OZRDC_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL), dlclose);
    ASSERT_NE(handle, nullptr) << dlerror();
    Library shared{};
#define OZRDC_EXPORT(name) shared.name = reinterpret_cast<decltype(shared.name)>(dlsym(handle.get(), #name));
#include "core/exports.inc"
#undef OZRDC_EXPORT
    const Library linked = linkedLibrary();
    ASSERT_NE(shared.ozrdcGetLibVersion, linked.ozrdcGetLibVersion);
    for (const Exercise& exercise : everyPrimitive()) {
        for (uint64_t seed = 0; seed < 30; ++seed) {
            ASSERT_EQ(exercise.run(shared, seed), exercise.run(linked, seed)) << exercise.name << ", seed " << seed;
        }
    }
}

}  // namespace
}  // namespace ozrdc::test
