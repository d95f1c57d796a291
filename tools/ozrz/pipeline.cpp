// The pipeline of blocks, as a plain loop and on oneTBB.
//
// Slots are handed out round robin. That is safe: at most `slots` blocks are under way, and as the first and the last
// stage keep the order, the blocks under way are always consecutive.
#include "pipeline.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_pipeline.h>

#include <exception>
#include <vector>

namespace ozrz {
namespace {

constexpr std::size_t kSpareSlots = 2;

void runSerially(const PipelineStages& stages) {
    while (stages.read(0)) {
        stages.work(0);
        stages.write(0);
    }
}

void runInParallel(unsigned threads, std::size_t slots, const PipelineStages& stages) {
    // A failure travels with its block to the last stage, where it takes its turn.
    std::vector<std::exception_ptr> failures(slots);
    std::size_t blocks = 0;
    bool readFailed = false;

    const auto read = [&](tbb::flow_control& control) -> std::size_t {
        const std::size_t slot = blocks % slots;
        try {
            if (readFailed || !stages.read(slot)) {
                control.stop();
                return 0;
            }
        } catch (...) {
            failures[slot] = std::current_exception();
            readFailed = true;
        }
        ++blocks;
        return slot;
    };
    const auto work = [&](std::size_t slot) {
        if (failures[slot]) return slot;
        try {
            stages.work(slot);
        } catch (...) {
            failures[slot] = std::current_exception();
        }
        return slot;
    };
    const auto write = [&](std::size_t slot) {
        if (failures[slot]) std::rethrow_exception(failures[slot]);
        stages.write(slot);
    };

    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    tbb::parallel_pipeline(slots, tbb::make_filter<void, std::size_t>(tbb::filter_mode::serial_in_order, read) &
                                      tbb::make_filter<std::size_t, std::size_t>(tbb::filter_mode::parallel, work) &
                                      tbb::make_filter<std::size_t, void>(tbb::filter_mode::serial_in_order, write));
}

}  // namespace

std::size_t pipelineSlots(unsigned threads) { return threads <= 1 ? 1 : threads + kSpareSlots; }

void runPipeline(unsigned threads, std::size_t slots, const PipelineStages& stages) {
    if (threads <= 1 || slots <= 1) {
        runSerially(stages);
    } else {
        runInParallel(threads, slots, stages);
    }
}

}  // namespace ozrz
