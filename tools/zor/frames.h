// frames.h - lists of frame numbers as users write them.
//
//     1-100        every frame from 1 to 100; 100-1 counts down
//     1-100x2      every other one: 1, 3, 5...
//     1,5,10-20    several lists, one after the other
//     -5-5, -9--1  numbers may be negative
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zor {

// The frames of a list, one by one: a list takes no more memory than its text, however many frames
// it names. A frame named more than once comes only the first time.
class FrameList {
public:
    // Understands a text; otherwise says what is wrong with it.
    static std::optional<FrameList> parse(const std::string &text, std::string &problem);

    // A list of given frames, which must rise.
    static FrameList of(const std::vector<int32_t> &frames);

    // The next frame; nothing after the last one.
    std::optional<int32_t> next();

    // How many next() has still to give, at most.
    [[nodiscard]] uint64_t left() const { return left_; }

private:
    // first, first + step and so on, count times.
    struct Stretch {
        int64_t first;
        int64_t step;
        uint64_t count;
        [[nodiscard]] int64_t at(uint64_t index) const {
            return first + step * static_cast<int64_t>(index);
        }
        [[nodiscard]] bool has(int64_t frame) const;
    };

    void append(const Stretch &stretch);

    std::vector<Stretch> stretches_;
    size_t current_ = 0;
    uint64_t index_ = 0; // of the next frame in the current stretch
    uint64_t left_ = 0;
};

} // namespace zor
