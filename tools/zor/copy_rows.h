// copy_rows.h - moving a picture's scanlines from one open image to another.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <zor/zor.h>

#include "exit_codes.h"
#include "reports.h"

namespace zor {

// One end of the way.
struct End {
    ZOR_IMAGE *image;
    std::string name;  // for messages
    std::string alias; // what the library calls the file, if not by that name
};

// Copies the rows of the first image from bottom to bottom, wherever the windows lie; both are of
// one size and hold the same types of samples.
//   channels    the input's channels, in the order in which the output takes them
//   any_order   the input's rows may be read in any order
//   threads     that may share the work
// Returns EXIT_FINE, EXIT_INTERRUPTED, or after a report which end failed.
ExitCode copy_rows(const End &input, const End &output, const std::vector<int32_t> &channels,
                   bool any_order, int threads, Reports &reports);

} // namespace zor
