// interrupt.cpp - the signals' flag.
#include "interrupt.h"

#include <atomic>
#include <csignal>

#include "system.h"

namespace zor {

namespace {

// Signals find nothing but what is global.
std::atomic<bool> raised = false;
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void raise_flag(int /*signal*/) { raised.store(true, std::memory_order_relaxed); }

} // namespace

void catch_interrupts() {
    for (const int signal : stop_signals()) {
        if (std::signal(signal, raise_flag) == SIG_IGN)
            std::signal(signal, SIG_IGN);
    }
}

bool interrupted() { return raised.load(std::memory_order_relaxed); }

} // namespace zor
