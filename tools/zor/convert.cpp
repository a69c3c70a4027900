// convert.cpp - the command "zor convert".
#include "commands.h"
#include "system.h"

namespace zor {

ExitCode convert(const RuntimeOptions &options, const ConvertRequest &request) {
    ignore_broken_pipes();
    Runtime runtime(options);
    return runtime.start() ? convert_image(request, runtime.reports()) : EXIT_NO_START;
}

} // namespace zor
