// sequence.h - which files are converted to which: one to one, or frame by frame.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "exit_codes.h"
#include "frames.h"
#include "pattern.h"
#include "reports.h"

namespace zor {

// What becomes of a frame that has no file.
enum class Missing {
    error, // it fails, as with any file that cannot be opened
    skip,  // it is left out
    hold,  // the nearest earlier frame that has one stands in
};

struct SequenceRequest {
    std::string input; // with a run of '#' in its name: a sequence, unless there is just that file
    std::string output;
    std::optional<std::string> frames; // a list; without one every frame that has a file
    Missing missing = Missing::error;
};

// A conversion to be done.
struct Task {
    std::optional<int32_t> frame; // nothing: not one of a sequence
    std::string input;            // empty: there is none, and the frame is left out
    std::string output;
    std::string absent = {}; // the frame's own file when it is not there; else empty
};

class Sequence {
public:
    // Returns nothing, after a message and with an exit code, when the request makes no sense or
    // no file is there.
    static std::optional<Sequence> make(const SequenceRequest &request, Reports &reports,
                                        ExitCode &code);

    // Whether there are frames; else it is one conversion.
    [[nodiscard]] bool has_frames() const { return input_.has_value(); }

    // Draws the next conversion; one thread at a time. Nothing after the last one.
    std::optional<int32_t> next() { return frames_.next(); }

    // How many next() has still to give, at most.
    [[nodiscard]] uint64_t left() const { return frames_.left(); }

    // The conversion drawn, as things are on disk now.
    [[nodiscard]] Task task(int32_t drawn) const;

private:
    explicit Sequence(const SequenceRequest &request) : request_(request) {}

    ExitCode set_patterns(Reports &reports);
    ExitCode set_frames(Reports &reports);
    [[nodiscard]] bool names_one_frame() const;

    SequenceRequest request_;
    FrameList frames_;
    std::optional<FramePattern> input_;  // nothing: no frames
    std::optional<FramePattern> output_; // nothing: the name as it stands
    std::vector<int32_t> on_disk_;       // when it takes them to find what stands in
};

} // namespace zor
