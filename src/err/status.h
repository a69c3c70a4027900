// status.h - how the library writes its status word.
#pragma once

#include <atomic>
#include <cstdint>

#include "zor/err.h"

namespace zor {

// Sets zor__err and returns the status. The store is atomic, since images may be used by several
// threads at once; which of two failures stays is a matter of luck.
inline int32_t set_status(int32_t status) {
    std::atomic_ref<int32_t>(zor__err).store(status, std::memory_order_relaxed);
    return status;
}

// Reads it, while other threads may set it.
inline int32_t status() {
    return std::atomic_ref<int32_t>(zor__err).load(std::memory_order_relaxed);
}

} // namespace zor
