// progress.cpp - drawing the progress line. It comes and goes with blanks and carriage returns,
// which every terminal knows.
#include "progress.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>

namespace zor {

namespace {

constexpr std::chrono::milliseconds pause(100);

} // namespace

std::string progress_text(uint64_t finished, uint64_t left, double seconds) {
    char text[128];
    int length = std::snprintf(text, sizeof text, "%" PRIu64 "/%" PRIu64 " frames", finished,
                               finished + left);
    const double rate = seconds > 0 ? static_cast<double>(finished) / seconds : 0;
    if (rate > 0 && length > 0) {
        const auto wait = static_cast<uint64_t>(std::ceil(static_cast<double>(left) / rate));
        std::snprintf(text + length, sizeof text - static_cast<size_t>(length),
                      "  %.1f/s  %" PRIu64 ":%02u:%02u left", rate, wait / 3600,
                      static_cast<unsigned>(wait / 60 % 60), static_cast<unsigned>(wait % 60));
    }
    return text;
}

void ProgressLine::draw(uint64_t finished, uint64_t left) {
    const Clock::time_point now = Clock::now();
    if (!shown_ || now - drawn_ < pause)
        return;
    drawn_ = now;
    const std::string text =
        progress_text(finished, left, std::chrono::duration<double>(now - start_).count());
    std::fprintf(stderr, "\r%-*s", static_cast<int>(length_), text.c_str());
    std::fflush(stderr);
    length_ = std::max(length_, text.size());
}

void ProgressLine::clear() {
    if (length_ == 0)
        return;
    std::fprintf(stderr, "\r%*s\r", static_cast<int>(length_), "");
    length_ = 0;
}

} // namespace zor
