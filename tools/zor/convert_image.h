// convert_image.h - the conversion of one image file to another format.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include <zor/zor.h>

#include "exit_codes.h"
#include "operators.h"
#include "reports.h"
#include "temporary_files.h"

namespace zor {

// How files are converted, the same for all frames of a sequence.
struct Conversion {
    std::string from;                     // key of the inputs' format; empty: told by each file
    const ZOR_FORMAT *to;                 // the outputs' format
    bool streamed = false;                // it makes a stream, not files
    ZOR_CAP_SETTING **settings = nullptr; // for the outputs' driver
    bool strict = false;                  // fail when it has no place for something
    Operations operations = {};           // with a display's gamma where one is wanted
};

// Settles the formats.
//   output    a name with the outputs' extension
//   from, to  keys; empty: told by the files, told by the extension
// Returns nothing, after a message, for formats that do not exist.
std::optional<Conversion> choose_formats(const std::string &input, const std::string &output,
                                         const std::string &from, const std::string &to,
                                         Reports &reports);

// What conversions that run at the same time have in common.
struct Workplace {
    std::mutex opening; // held for opening images, and for finding out what formats they are of
    TemporaryFiles temporary_files;
    int threads = 1; // that each may use
};

// Converts one of the input's images. Failures and losses are reported; the output appears, or
// changes, only when all went well. Several threads may do so at once; each needs reports of its
// own. An interrupt ends it early, without a message.
//   input, output  files; "-" for the standard streams
ExitCode convert_image(const std::string &input, const std::string &output,
                       const Conversion &conversion, Workplace &workplace, Reports &reports);

} // namespace zor
