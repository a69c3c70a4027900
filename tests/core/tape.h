// tape.h - what the tests may ask and tell the "tape" driver, a strictly sequential one.
#pragma once

#include <atomic>
#include <cstdint>

// Exported by the module as "tape_state".
struct TapeState {
    int opens;              // files opened for reading so far
    std::atomic<int> lines; // lines transferred so far
    int fail_at;            // line that fails with ZOR_E_READ, or never
    int32_t seek_result;    // what the seek function answers, when there is one
    int32_t seek_target;    // and what it was asked for
    int closes;             // handles closed so far
    int32_t written[64];    // first sample of each line written
};

constexpr int never = -1000; // no line
constexpr int32_t tape_width = 4;
constexpr int32_t tape_bottom = 10;
constexpr int32_t tape_top = 19;
