// terminal_picture.h - a small picture as characters: each stands for two pixels, one above the
// other, whose colours it has in front and behind.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zor {

struct Pixels {
    using Pixel = std::array<uint8_t, 3>;

    int32_t width = 0, height = 0;
    std::vector<Pixel> all; // from the top left on

    [[nodiscard]] const Pixel &at(int32_t x, int32_t y) const {
        return all[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
};

// A width and height of at least 1 that keep a picture's shape within those of a frame, and do not
// exceed its own.
std::array<int32_t, 2> fit(int64_t width, int64_t height, int32_t frame_width,
                           int32_t frame_height);

// The lines that draw them, each ending in plain colours; below an odd last row the background
// shows.
std::string draw(const Pixels &pixels);

} // namespace zor
