// jobs.h - threads that share a heap of work.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace zor {

class Jobs {
public:
    // Starts threads, each of which calls step until that returns false. Where the system grants
    // fewer threads they have to do; std::system_error when it grants none.
    //   step  takes one piece of work and does it; called by several threads at once; may not throw
    Jobs(unsigned count, std::function<bool()> step);

    // Waits for all threads. Returns false when time is up before.
    bool wait_for(std::chrono::milliseconds time);

private:
    void work();

    std::function<bool()> step_;
    std::mutex mutex_;
    std::condition_variable ended_;
    unsigned running_ = 0;
    std::vector<std::jthread> threads_; // last: they use all the others
};

} // namespace zor
