// Any number of threads may call any primitives at the same time, on buffers of their own: the results are those of one
// thread. ThreadSanitizer, where the build has it, also sees any shared state that would not change a result.
#include <gtest/gtest.h>

#include <barrier>
#include <string>
#include <thread>
#include <vector>

#include "every_primitive.h"
#include "support/random.h"

namespace ozrdc::test {
namespace {

TEST(Concurrency, ThreadsWithBuffersOfTheirOwnGetTheResultsOfASingleThread) {
    constexpr unsigned threadCount = 8;
    constexpr uint64_t seeds = 12;
    constexpr int callsOfAThread = 400;

    const Library library = linkedLibrary();
    const std::vector<Exercise>& exercises = everyPrimitive();
    std::vector<std::vector<std::vector<uint8_t>>> expected;  // [exercise][seed]
    for (const Exercise& exercise : exercises) {
        std::vector<std::vector<uint8_t>>& results = expected.emplace_back();
        for (uint64_t seed = 0; seed < seeds; ++seed) results.push_back(exercise.run(library, seed));
    }

    std::barrier start(threadCount);
    std::vector<std::string> failures(threadCount);
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < threadCount; ++t) {
        threads.emplace_back([&, t] {
            // Each thread goes its own way through the exercises, so that every pair of primitives meets.
            Random random(800 + t);
            start.arrive_and_wait();
            for (int call = 0; call < callsOfAThread; ++call) {
                const std::size_t which = random.below(exercises.size());
                const uint64_t seed = random.below(seeds);
                if (exercises[which].run(library, seed) != expected[which][seed]) {
                    failures[t] = exercises[which].name + ", seed " + std::to_string(seed);
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::string& failure : failures) EXPECT_EQ(failure, "");
}

}  // namespace
}  // namespace ozrdc::test
