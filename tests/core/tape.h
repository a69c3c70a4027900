// tape.h - what the tests may ask and tell the "tape" driver, a strictly sequential one.
#pragma once

#include <cstdint>

#include "zor/driver.h"

// Done to an image, which has one description, at the end of opening it.
using Mischief = void (*)(ZOR_IMAGE &image, ZOR_IMAGE_DESC &desc);

// Exported by the module as "tape_state".
struct TapeState {
    int opens;   // files opened for reading so far
    int lines;   // lines transferred so far
    int fail_at; // line that fails with ZOR_E_READ, or never
    int closes;  // handles closed so far
    int answer;  // of opening
    Mischief mischief;
};

constexpr int never = -1000; // no line
constexpr int32_t tape_width = 4;
constexpr int32_t tape_bottom = 10;
constexpr int32_t tape_top = 19;
