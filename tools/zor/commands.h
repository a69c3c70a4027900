// commands.h - the commands of zor, one file each.
#pragma once

#include <string>
#include <vector>

#include "convert_image.h"
#include "exit_codes.h"
#include "runtime.h"

namespace zor {

ExitCode list_formats(const RuntimeOptions &options, bool verbose, bool json);

//   from  key of the files' format; empty: found out from each
ExitCode show_info(const RuntimeOptions &options, const std::vector<std::string> &files,
                   const std::string &from, bool json);

ExitCode convert(const RuntimeOptions &options, const ConvertRequest &request);

} // namespace zor
