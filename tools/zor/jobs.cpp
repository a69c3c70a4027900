// jobs.cpp - starting threads and waiting for them.
#include "jobs.h"

#include <system_error>
#include <utility>

namespace zor {

Jobs::Jobs(unsigned count, std::function<bool()> step) : step_(std::move(step)) {
    threads_.reserve(count);
    const std::lock_guard lock(mutex_); // none ends before all are counted
    while (running_ < count) {
        try {
            threads_.emplace_back([this] { work(); });
        } catch (const std::system_error &) {
            if (running_ == 0)
                throw;
            return;
        }
        ++running_;
    }
}

void Jobs::work() {
    while (step_())
        continue;
    const std::lock_guard lock(mutex_);
    --running_;
    ended_.notify_one();
}

bool Jobs::wait_for(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    return ended_.wait_for(lock, time, [this] { return running_ == 0; });
}

} // namespace zor
