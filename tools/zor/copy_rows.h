// copy_rows.h - moving a picture's scanlines from one open image to another.
#pragma once

#include <string>

#include <zor/zor.h>

#include "exit_codes.h"
#include "reports.h"
#include "row_reader.h"

namespace zor {

// Where they go.
struct End {
    ZOR_IMAGE *image;
    std::string name;  // for messages
    std::string alias; // what the library calls the file, if not by that name
};

// Copies all rows from bottom to bottom, wherever the windows lie; the images are of one size, and
// the output takes the channels in the order and of the types in which they are read.
//   rows     not started yet
//   threads  that may share the work
// Returns EXIT_FINE, EXIT_INTERRUPTED, or after a report which end failed.
ExitCode copy_rows(RowReader &rows, const End &output, int threads, Reports &reports);

} // namespace zor
