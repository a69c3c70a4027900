// console.h - what the conversion of frames says: messages and progress on the standard error
// stream, lines of JSON on the standard output.
#pragma once

#include <mutex>
#include <set>
#include <string>

#include "frame_result.h"
#include "progress.h"

namespace zor {

// For any thread.
class Console {
public:
    //   quiet     errors only
    //   json      a line for each frame on the standard output
    //   progress  if there is a terminal
    Console(bool quiet, bool json, bool progress);

    // Says how a frame went. A warning that one frame has had already is not repeated. Returns
    // false, after a message, when the standard output takes no more.
    bool tell(const FrameResult &result);

    void say(const Message &message);

    // Draws the progress line, unless somebody is just saying something.
    void show_progress(uint64_t finished, uint64_t left);

    void clear_progress();

private:
    void print(const Message &message);

    std::mutex mutex_;
    bool quiet_;
    bool json_;
    ProgressLine progress_;
    std::set<std::string> warnings_; // texts of those that were said
};

} // namespace zor
