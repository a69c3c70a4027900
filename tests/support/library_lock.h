// library_lock.h - whether somebody holds the library's lock. For tests linked with the library's
// own objects.
#pragma once

#include <thread>

#include "platform/platform.h"

// Asked in another thread, since the lock lets its holder in again.
inline bool library_lock_is_free() {
    bool is_free = false;
    std::thread([&is_free] {
        auto *mutex = zor::platform::library_mutex();
        is_free = zor::platform::mutex_try_lock(mutex);
        if (is_free)
            zor::platform::mutex_unlock(mutex);
    }).join();
    return is_free;
}
