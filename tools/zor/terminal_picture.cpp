// terminal_picture.cpp - half blocks in 24-bit colours.
#include "terminal_picture.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace zor {

namespace {

constexpr char upper_half[] = "\u2580";

// Appends the escape sequence for a colour; layer is 38 in front, 48 behind.
void set_colour(std::string &text, const char *layer, const Pixels::Pixel &pixel) {
    text.append("\x1b[").append(layer).append(";2");
    for (const uint8_t part : pixel)
        text.append(";").append(std::to_string(part));
    text += 'm';
}

} // namespace

std::array<int32_t, 2> fit(int64_t width, int64_t height, int32_t frame_width,
                           int32_t frame_height) {
    const auto w = static_cast<double>(width);
    const auto h = static_cast<double>(height);
    const double scale = std::min({1.0, frame_width / w, frame_height / h});
    const auto extent = [scale](double pixels) {
        return std::max(static_cast<int32_t>(std::lround(pixels * scale)), 1);
    };
    return {extent(w), extent(h)};
}

std::string draw(const Pixels &pixels) {
    std::string text;
    for (int32_t y = 0; y < pixels.height; y += 2) {
        // Colours are said when they change.
        std::optional<Pixels::Pixel> front;
        std::optional<Pixels::Pixel> behind;
        for (int32_t x = 0; x < pixels.width; ++x) {
            if (front != pixels.at(x, y))
                set_colour(text, "38", *(front = pixels.at(x, y)));
            if (y + 1 < pixels.height && behind != pixels.at(x, y + 1))
                set_colour(text, "48", *(behind = pixels.at(x, y + 1)));
            text += upper_half;
        }
        text += "\x1b[0m\n";
    }
    return text;
}

} // namespace zor
