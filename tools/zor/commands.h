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
    RunOptions run;
};

ExitCode convert(const RuntimeOptions &options, const ConvertRequest &request);

} // namespace zor
