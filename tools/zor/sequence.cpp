// sequence.cpp - making sense of patterns and frame lists.
#include "sequence.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "loader/paths.h"

namespace zor {
namespace fs = std::filesystem;

namespace {

bool is_missing(const std::string &file) {
    std::error_code error;
    return fs::status(to_path(file), error).type() == fs::file_type::not_found;
}

} // namespace

std::optional<Sequence> Sequence::make(const SequenceRequest &request, Reports &reports,
                                       ExitCode &code) {
    Sequence sequence(request);
    if (!request.frames.has_value() &&
        (!FramePattern::is_one(request.input) || !is_missing(request.input))) {
        sequence.frames_ = FrameList::of({0});
        return sequence;
    }
    code = sequence.set_patterns(reports);
    if (code == EXIT_FINE)
        code = sequence.set_frames(reports);
    return code == EXIT_FINE ? std::optional(std::move(sequence)) : std::nullopt;
}

// A list of one frame, and the one way of asking for frames that leaves the output's name alone.
bool Sequence::names_one_frame() const {
    std::string ignored;
    const auto list =
        request_.frames.has_value() ? FrameList::parse(*request_.frames, ignored) : std::nullopt;
    return list.has_value() && list->left() == 1;
}

ExitCode Sequence::set_patterns(Reports &reports) {
    reports.about(request_.input);
    input_ = FramePattern::parse(request_.input);
    if (!input_.has_value()) {
        reports.error("frames need one run of # in the file's name");
        return EXIT_WRONG_USAGE;
    }
    reports.about(request_.output);
    output_ = FramePattern::parse(request_.output);
    if (output_.has_value() || (!FramePattern::is_one(request_.output) && names_one_frame()))
        return EXIT_FINE;
    reports.error("more than one frame needs one run of # in the file's name");
    return EXIT_WRONG_USAGE;
}

ExitCode Sequence::set_frames(Reports &reports) {
    std::string problem;
    if (request_.frames.has_value()) {
        const auto list = FrameList::parse(*request_.frames, problem);
        if (!list.has_value()) {
            reports.about("--frames " + *request_.frames);
            reports.error(problem);
            return EXIT_WRONG_USAGE;
        }
        frames_ = *list;
        if (request_.missing == Missing::hold)
            on_disk_ = input_->on_disk(problem);
        return EXIT_FINE;
    }
    const std::vector<int32_t> found = input_->on_disk(problem);
    if (!found.empty()) {
        frames_ = FrameList::of(found);
        return EXIT_FINE;
    }
    reports.about(request_.input);
    reports.error(problem.empty() ? "there is no frame of this sequence" : problem);
    return EXIT_INPUT_FAILED;
}

Task Sequence::task(int32_t drawn) const {
    if (!has_frames())
        return {std::nullopt, request_.input, request_.output};
    Task task = {drawn, input_->path(drawn),
                 output_.has_value() ? output_->path(drawn) : request_.output};
    if (request_.missing == Missing::error || !is_missing(task.input))
        return task;
    const auto later = std::lower_bound(on_disk_.begin(), on_disk_.end(), drawn);
    if (request_.missing == Missing::skip)
        task.absent = std::exchange(task.input, {});
    else if (later != on_disk_.begin()) // else opening it says what is wrong
        task.absent = std::exchange(task.input, input_->path(*(later - 1)));
    return task;
}

} // namespace zor
