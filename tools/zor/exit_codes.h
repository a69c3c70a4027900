// exit_codes.h - how the zor command ends.
#pragma once

namespace zor {

enum ExitCode {
    EXIT_FINE = 0,
    EXIT_INPUT_FAILED = 1,  // some input could not be read
    EXIT_WRONG_USAGE = 2,   // options, keys or extensions that make no sense
    EXIT_NO_START = 3,      // the library did not start, or has no format from a module
    EXIT_OUTPUT_FAILED = 4, // the result could not be written, or not all of it with --strict
    EXIT_NOT_COMPARED = 5,  // zor compare could not do its work
    EXIT_INTERRUPTED = 130, // a signal asked to stop
    EXIT_DIFFERENT = 1,     // zor compare: the pictures differ
};

} // namespace zor
