// The form of a measurement, and what a family has to provide.
//
// Every benchmark is named PRIMITIVE/IMPLEMENTATION/INPUT, for example "crc32/zlib/dickens". Within a primitive all
// implementations do the same work on the same inputs; this library's is called "ozrdc". The report takes the names
// apart, so that a family needs nothing but the calls below.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "support/corpus.h"

namespace ozrdc::bench {

// Defined by each family: registers all of its benchmarks. The corpus outlives them.
void registerBenchmarks(const Corpus& corpus);

// Notes something about the build that a reader of the results should know, such as the version of a peer.
inline void note(const std::string& key, const std::string& value) { benchmark::AddCustomContext(key, value); }

namespace detail {

inline std::string fullName(const std::string& primitive, const std::string& implementation, const std::string& input) {
    return primitive + '/' + implementation + '/' + input;
}

inline void countBytes(benchmark::State& state, size_t bytes) {
    state.SetBytesProcessed(static_cast<int64_t>(bytes) * static_cast<int64_t>(state.iterations()));
}

inline void countCodec(benchmark::State& state, size_t bytes, size_t compressedBytes) {
    countBytes(state, bytes);
    state.counters["compressed"] = static_cast<double>(compressedBytes);
    state.counters["ratio"] = static_cast<double>(bytes) / static_cast<double>(compressedBytes);
}

}  // namespace detail

// Registers a measurement of `run()`, which works through `bytes` bytes. Its result keeps the work from being optimized
// away.
template <typename Run>
void measure(const std::string& primitive, const std::string& implementation, const std::string& input, size_t bytes,
             Run run) {
    benchmark::RegisterBenchmark(detail::fullName(primitive, implementation, input).c_str(),
                                 [bytes, run = std::move(run)](benchmark::State& state) {
                                     for (auto _ : state) benchmark::DoNotOptimize(run());
                                     detail::countBytes(state, bytes);
                                 });
}

// The same for one direction of a codec: the speed is that of the `bytes` plain bytes in both directions, and the
// compressed size goes with it. `run()` returns the number of bytes written, or 0 if it failed.
template <typename Run>
void measureCodec(const std::string& primitive, const std::string& implementation, const std::string& input,
                  size_t bytes, size_t compressedBytes, Run run) {
    benchmark::RegisterBenchmark(detail::fullName(primitive, implementation, input).c_str(),
                                 [bytes, compressedBytes, run = std::move(run)](benchmark::State& state) {
                                     for (auto _ : state) {
                                         const size_t written = run();
                                         benchmark::DoNotOptimize(written);
                                         if (written == 0) {
                                             state.SkipWithError("the codec failed");
                                             return;
                                         }
                                     }
                                     detail::countCodec(state, bytes, compressedBytes);
                                 });
}

// The same for work that tells its own time, such as a process: `run()` returns the seconds that it took, or 0 if it
// failed.
template <typename Run>
void measureTimedCodec(const std::string& primitive, const std::string& implementation, const std::string& input,
                       size_t bytes, size_t compressedBytes, Run run) {
    benchmark::RegisterBenchmark(detail::fullName(primitive, implementation, input).c_str(),
                                 [bytes, compressedBytes, run = std::move(run)](benchmark::State& state) {
                                     for (auto _ : state) {
                                         const double seconds = run();
                                         if (seconds == 0) {
                                             state.SkipWithError("the codec failed");
                                             return;
                                         }
                                         state.SetIterationTime(seconds);
                                     }
                                     detail::countCodec(state, bytes, compressedBytes);
                                 })
        ->UseManualTime();
}

}  // namespace ozrdc::bench
