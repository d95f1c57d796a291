// The pipeline of blocks, as a plain loop and on several threads.
//
// All threads do the same: each takes the next block through reading and working, and then writes whatever is ready in
// order, unless another thread is at that. Nobody waits for a turn while there is something to do.
#include "pipeline.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
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

// Slots are handed out round robin. That is safe: at most as many blocks as there are slots are under way, and as
// reading and writing keep the order, the blocks under way are always consecutive.
class ParallelRun {
  public:
    ParallelRun(std::size_t slots, const PipelineStages& stages) : stages_(stages), slots_(slots) {}

    void run(unsigned threads) {
        std::vector<std::thread> others;
        try {
            while (others.size() + 1 < threads) others.emplace_back([this] { takePart(); });
        } catch (const std::system_error&) {
            // Fewer threads do as well.
        }
        takePart();
        for (std::thread& other : others) other.join();
        if (failure_) std::rethrow_exception(failure_);
    }

  private:
    struct Slot {
        bool ready = false;
        std::exception_ptr failure{};  // travels with its block to its turn
    };

    using Lock = std::unique_lock<std::mutex>;

    void takePart() {
        Lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return ended_ || (!reading_ && begun_ - written_ < slots_.size()); });
            if (ended_) return;
            const std::size_t i = begun_ % slots_.size();
            if (!read(lock, i)) return;
            if (!slots_[i].failure) {
                without(lock, slots_[i].failure, [&] { stages_.work(i); });
            }
            slots_[i].ready = true;
            if (!writing_) writeReady(lock);
        }
    }

    // The state is as before when this returns false, but that nothing more is read.
    bool read(Lock& lock, std::size_t i) {
        reading_ = true;
        bool more = false;
        slots_[i] = {};
        without(lock, slots_[i].failure, [&] { more = stages_.read(i); });
        reading_ = false;
        const bool isBlock = more || slots_[i].failure;
        if (isBlock) ++begun_;
        if (!more) ended_ = true;
        changed_.notify_all();
        return isBlock;
    }

    void writeReady(Lock& lock) {
        writing_ = true;
        while (written_ < begun_ && slots_[written_ % slots_.size()].ready && !failure_) {
            const std::size_t i = written_ % slots_.size();
            failure_ = slots_[i].failure;
            if (!failure_) without(lock, failure_, [&] { stages_.write(i); });
            if (failure_) ended_ = true;
            slots_[i].ready = false;
            ++written_;
            changed_.notify_all();
        }
        writing_ = false;
    }

    // Does something while others may go on.
    template <typename Action>
    static void without(Lock& lock, std::exception_ptr& failure, const Action& action) {
        lock.unlock();
        std::exception_ptr thrown;
        try {
            action();
        } catch (...) {
            thrown = std::current_exception();
        }
        lock.lock();
        if (thrown) failure = thrown;
    }

    const PipelineStages& stages_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Slot> slots_;
    std::size_t begun_ = 0;    // blocks that were read
    std::size_t written_ = 0;  // blocks that were written
    bool reading_ = false;
    bool writing_ = false;
    bool ended_ = false;  // no block is read any more
    std::exception_ptr failure_;
};

}  // namespace

std::size_t pipelineSlots(unsigned threads) { return threads <= 1 ? 1 : threads + kSpareSlots; }

void runPipeline(unsigned threads, std::size_t slots, const PipelineStages& stages) {
    if (threads <= 1 || slots <= 1) {
        runSerially(stages);
    } else {
        ParallelRun(slots, stages).run(threads);
    }
}

}  // namespace ozrz
