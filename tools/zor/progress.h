// progress.h - the line that tells a person at a terminal how far things are.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace zor {

// Such as "37/100 frames  12.3/s  0:05 left".
std::string progress_text(uint64_t finished, uint64_t left, double seconds);

// The line, on the standard error stream. It is to be cleared before anything else is printed there
// or on the standard output.
class ProgressLine {
public:
    explicit ProgressLine(bool shown) : shown_(shown) {}

    // Draws the line anew, at most some times a second.
    void draw(uint64_t finished, uint64_t left);
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    bool shown_;
    size_t length_ = 0; // of what stands there now
    Clock::time_point start_ = Clock::now();
    Clock::time_point drawn_;
};

} // namespace zor
