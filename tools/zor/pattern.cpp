// pattern.cpp - making and recognising the file names of a sequence.
#include "pattern.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "loader/paths.h"

namespace zor {
namespace fs = std::filesystem;

namespace {

// Where the file's name begins.
size_t name_start(const std::string &path) {
    return path.size() - to_text(to_path(path).filename()).size();
}

} // namespace

bool FramePattern::is_one(const std::string &path) {
    return path.find('#', name_start(path)) != std::string::npos;
}

std::optional<FramePattern> FramePattern::parse(const std::string &path) {
    FramePattern pattern;
    const size_t start = name_start(path);
    const size_t run = path.find('#', start);
    if (run == std::string::npos)
        return std::nullopt;
    const size_t end = std::min(path.find_first_not_of('#', run), path.size());
    if (path.find('#', end) != std::string::npos)
        return std::nullopt;
    pattern.directory_ = path.substr(0, start);
    pattern.before_ = path.substr(start, run - start);
    pattern.after_ = path.substr(end);
    pattern.digits_ = end - run;
    return pattern;
}

std::string FramePattern::name(int32_t frame) const {
    const std::string digits = std::to_string(frame < 0 ? -int64_t{frame} : int64_t{frame});
    std::string text = before_;
    if (frame < 0)
        text += '-';
    if (digits.size() < digits_)
        text.append(digits_ - digits.size(), '0');
    return text + digits + after_;
}

std::optional<int32_t> FramePattern::frame_of(const std::string &file) const {
    if (file.size() <= before_.size() + after_.size() || !file.starts_with(before_) ||
        !file.ends_with(after_))
        return std::nullopt;
    const char *first = file.data() + before_.size();
    const char *last = file.data() + file.size() - after_.size();
    int32_t frame = 0;
    const auto [rest, error] = std::from_chars(first, last, frame);
    if (error != std::errc() || rest != last || name(frame) != file)
        return std::nullopt;
    return frame;
}

std::vector<int32_t> FramePattern::on_disk(std::string &error) const {
    std::vector<int32_t> frames;
    std::error_code failure;
    for (fs::directory_iterator entry(directory_.empty() ? "." : to_path(directory_), failure), end;
         !failure && entry != end; entry.increment(failure)) {
        std::error_code unknown;
        const auto frame = frame_of(to_text(entry->path().filename()));
        if (frame.has_value() && !entry->is_directory(unknown))
            frames.push_back(*frame);
    }
    if (failure)
        error = failure.message();
    std::sort(frames.begin(), frames.end());
    return frames;
}

} // namespace zor
