// tape.h - what the tests may ask and tell the "tape" driver, a strictly sequential one.
#pragma once

#include <cstdint>

// Exported by the module as "tape_state".
struct TapeState {
    int opens;   // files opened for reading so far
    int lines;   // lines transferred so far
    int fail_at; // line that fails with ZOR_E_READ, or never
    int closes;  // handles closed so far
};

constexpr int never = -1000; // no line
constexpr int32_t tape_width = 4;
constexpr int32_t tape_bottom = 10;
constexpr int32_t tape_top = 19;
