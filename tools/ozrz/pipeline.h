// Blocks through three stages: read in order, worked on in parallel, written in order.
//
// A block lives in one of a fixed number of slots, which bounds the memory. What is written, and which error is
// reported, never depends on the number of threads: when a stage fails on a block, the blocks before it are still
// written, and then the failure is thrown.
#pragma once

#include <cstddef>
#include <functional>

namespace ozrz {

struct PipelineStages {
    std::function<bool(std::size_t slot)> read;  // false: there is no further block
    std::function<void(std::size_t slot)> work;
    std::function<void(std::size_t slot)> write;
};

// Slots for a number of threads: one thread needs one; several get spare ones, so that reading goes ahead.
std::size_t pipelineSlots(unsigned threads);

// Runs until `read` has returned false and everything is written. `slots` is at least 1. With one thread this is a
// plain loop on the calling thread.
void runPipeline(unsigned threads, std::size_t slots, const PipelineStages& stages);

}  // namespace ozrz
