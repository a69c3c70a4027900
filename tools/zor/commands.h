// commands.h - the commands of zor, one file each.
#pragma once

#include <string>
#include <vector>

#include "convert_frames.h"
#include "exit_codes.h"
#include "runtime.h"
#include "sequence.h"

namespace zor {

ExitCode list_formats(const RuntimeOptions &options, bool verbose, bool json);

//   from  key of the files' format; empty: found out from each
ExitCode show_info(const RuntimeOptions &options, const std::vector<std::string> &files,
                   const std::string &from, bool json);

struct ConvertRequest {
    SequenceRequest files;             // "-": the standard streams, whose formats have to be given
    std::string from;                  // key of the input's format; empty: found out from the file
    std::string to;                    // key of the output's; empty: told by the extension
    std::vector<std::string> settings; // capabilities of the output's driver, as NAME=VALUE
    bool strict = false;               // fail when the output's format has no place for something
    bool json = false;                 // a line for each conversion
    Operations operations;             // on the way
    RunOptions run;
};

struct CompareRequest {
    std::string a, b;
    std::string from;       // key of both files' format; empty: found out from each
    double tolerance = 0;   // largest difference that counts as none, of a full range of 1
    std::string difference; // a file to draw the difference to; empty: none
    bool json = false;
};

ExitCode compare(const RuntimeOptions &options, const CompareRequest &request);

struct ShowRequest {
    std::string file;
    std::string from;      // key of its format; empty: found out from the file
    int32_t image = 0;     // of several in the file, counted from 1; 0: the first
    int32_t width = 0;     // in pixels, a column each; 0: what fits
    bool terminal = false; // draw whatever the output is
    bool opaque = false;   // the matte left out
};

ExitCode show(const RuntimeOptions &options, const ShowRequest &request);

ExitCode convert(const RuntimeOptions &options, const ConvertRequest &request);

} // namespace zor
