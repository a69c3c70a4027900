// frame_result.h - how the conversion of one frame went.
#pragma once

#include <string>
#include <vector>

#include "exit_codes.h"
#include "reports.h"
#include "sequence.h"

namespace zor {

struct FrameResult {
    enum class Status {
        done,
        held,    // done from an earlier frame
        missing, // left out, having no file
        failed,
        broken_off, // by an interrupt
    };

    Task task;
    Status status;
    ExitCode code;
    std::vector<Message> messages;
    double seconds;
};

} // namespace zor
