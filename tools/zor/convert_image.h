// convert_image.h - the conversion of one image file to another format.
#pragma once

#include <string>

#include "exit_codes.h"
#include "reports.h"

namespace zor {

struct ConvertRequest {
    std::string input;   // a file; "-": the standard input, whose format has to be given
    std::string output;  // a file; "-": the standard output, whose format has to be given
    std::string from;    // key of the input's format; empty: found out from the file
    std::string to;      // key of the output's format; empty: told by the output's extension
    bool strict = false; // fail when the output's format has no place for something
};

// Converts the input's first image. The library is up. Failures and losses are reported; the output
// appears, or changes, only when all went well.
ExitCode convert_image(const ConvertRequest &request, Reports &reports);

} // namespace zor
