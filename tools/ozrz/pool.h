// Working memory that threads take turns with: what one gives back the next one takes, so that there is never more of
// it than work is done at the same time.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

namespace ozrz {

template <typename Tool>
class Pool {
  public:
    std::unique_ptr<Tool> take() {
        {
            const std::lock_guard lock(mutex_);
            if (!idle_.empty()) {
                // The one that was used last: the caches know its memory.
                std::unique_ptr<Tool> tool = std::move(idle_.back());
                idle_.pop_back();
                return tool;
            }
        }
        return std::make_unique<Tool>();
    }

    void giveBack(std::unique_ptr<Tool> tool) {
        const std::lock_guard lock(mutex_);
        idle_.push_back(std::move(tool));
    }

  private:
    std::mutex mutex_;
    std::vector<std::unique_ptr<Tool>> idle_;
};

}  // namespace ozrz
