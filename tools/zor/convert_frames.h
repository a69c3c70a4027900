// convert_frames.h - doing all conversions of a sequence, some at the same time.
#pragma once

#include "console.h"
#include "convert_image.h"
#include "exit_codes.h"
#include "sequence.h"

namespace zor {

struct RunOptions {
    unsigned jobs = 1;          // threads
    bool skip_failures = false; // go on with the others after a frame that failed
};

// Converts all of a sequence, or its only file. After an interrupt that could not end the threads
// in time it does not return but ends the program, with all temporary files removed.
ExitCode convert_frames(Sequence &sequence, const Conversion &conversion, const RunOptions &options,
                        Console &console);

} // namespace zor
