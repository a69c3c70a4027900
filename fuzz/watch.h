// watch.h - what fuzz targets look at beside crashes: memory taken, and reports.
#pragma once

#include <cstdio>
#include <utility>

#include "support/memory_watch.h"
#include "system.h"
#include "zor/err.h"

// The target: what is run with each input.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace watch {

inline bool reported; // set by every report of an error

// The first call counts.
inline void start() {
    static bool started;
    if (std::exchange(started, true))
        return;
    start_counting();
    const auto note = [](const char *, int severity, const char *, ERR_OBJECT *, void *) {
        reported = reported || severity >= ERR_ERROR;
        return 0;
    };
    ERR_dcl_handler(nullptr, note, nullptr);
}

} // namespace watch

inline void check(bool good, int line = __builtin_LINE()) {
    if (good)
        return;
    std::fprintf(stderr, "check in line %d failed\n", line);
    std::abort();
}
