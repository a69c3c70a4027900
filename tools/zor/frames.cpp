// frames.cpp - reading and walking lists of frame numbers.
#include "frames.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace zor {

namespace {

// Reads numbers and separators off the front of a text.
class Scanner {
public:
    explicit Scanner(const std::string &text) : at_(text.data()), end_(text.data() + text.size()) {}

    bool number(int32_t &value) {
        const auto [rest, error] = std::from_chars(at_, end_, value);
        at_ = rest;
        too_large_ = too_large_ || error == std::errc::result_out_of_range;
        return error == std::errc();
    }
    bool take(char c) {
        const bool there = at_ != end_ && *at_ == c;
        at_ += there ? 1 : 0;
        return there;
    }
    [[nodiscard]] bool at_end() const { return at_ == end_; }
    [[nodiscard]] bool too_large() const { return too_large_; }

private:
    const char *at_;
    const char *end_;
    bool too_large_ = false;
};

} // namespace

bool FrameList::Stretch::has(int64_t frame) const {
    const int64_t distance = step < 0 ? first - frame : frame - first;
    const int64_t stride = step < 0 ? -step : step;
    return distance >= 0 && distance % stride == 0 &&
           static_cast<uint64_t>(distance / stride) < count;
}

void FrameList::append(const Stretch &stretch) {
    stretches_.push_back(stretch);
    left_ += stretch.count;
}

std::optional<FrameList> FrameList::parse(const std::string &text, std::string &problem) {
    FrameList list;
    Scanner scanner(text);
    do {
        int32_t first = 0;
        int32_t last = 0;
        int32_t step = 1;
        bool good = scanner.number(first);
        last = first;
        if (good && scanner.take('-')) {
            good = scanner.number(last);
            if (good && scanner.take('x'))
                good = scanner.number(step) && step > 0;
        }
        if (!good) {
            problem = scanner.too_large() ? "frame numbers have 32 bits"
                                          : "expecting frames such as 1-100, 1-100x2 or 1,5,10-20";
            return std::nullopt;
        }
        const bool falling = last < first;
        const int64_t span = std::abs(int64_t{last} - first);
        list.append({first, falling ? -int64_t{step} : int64_t{step},
                     static_cast<uint64_t>(span / step) + 1});
    } while (scanner.take(','));
    if (scanner.at_end())
        return list;
    problem = "expecting frames such as 1-100, 1-100x2 or 1,5,10-20";
    return std::nullopt;
}

FrameList FrameList::of(const std::vector<int32_t> &frames) {
    FrameList list;
    for (size_t begin = 0; begin < frames.size();) {
        size_t end = begin + 1;
        while (end < frames.size() && int64_t{frames[end]} - frames[end - 1] == 1)
            ++end;
        list.append({frames[begin], 1, end - begin});
        begin = end;
    }
    return list;
}

std::optional<int32_t> FrameList::next() {
    while (current_ < stretches_.size()) {
        const Stretch &stretch = stretches_[current_];
        if (index_ == stretch.count) {
            ++current_;
            index_ = 0;
            continue;
        }
        const int64_t frame = stretch.at(index_++);
        --left_;
        const auto here = stretches_.begin() + static_cast<std::ptrdiff_t>(current_);
        if (std::none_of(stretches_.begin(), here,
                         [&](const Stretch &earlier) { return earlier.has(frame); }))
            return static_cast<int32_t>(frame);
    }
    return std::nullopt;
}

} // namespace zor
