// frames.h - the pictures all benchmarks work on. They are computed, and equal on every run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

enum class Picture {
    rendered,   // shaded spheres on a flat ground with their matte: runs and slow gradients
    photograph, // detail and sensor noise over soft areas, opaque: short runs all over
    sharp,      // a photograph with noise everywhere: literals, and few runs of more than three
    soft,       // a photograph out of focus and without much noise: short runs and short literals
    cel,        // flat paint inside outlines: long runs, and a few unlike samples between them
    noise,      // no two neighbours related: nothing to gain
    flat        // one colour
};

constexpr Picture all_pictures[] = {Picture::rendered, Picture::photograph, Picture::sharp,
                                    Picture::soft,     Picture::cel,        Picture::noise,
                                    Picture::flat};

const char *name_of(Picture picture);

struct Size {
    int32_t width, height;
};
constexpr Size film = {2048, 1556};
constexpr Size video = {1920, 1080};
constexpr Size all_sizes[] = {film, video};

std::string name_of(const Size &size);

// Four planar channels, rgba, of integers of 8 or 16 bits or floats of 32.
struct Frame {
    static constexpr int32_t channels = 4;

    int32_t width, height;
    int32_t bits;
    std::vector<uint8_t> data;

    [[nodiscard]] size_t sample_size() const { return static_cast<size_t>(bits) / 8; }
    [[nodiscard]] size_t row_bytes() const { return static_cast<size_t>(width) * sample_size(); }
    [[nodiscard]] const uint8_t *row(int32_t channel, int32_t y) const {
        return data.data() + (static_cast<size_t>(channel) * static_cast<size_t>(height) +
                              static_cast<size_t>(y)) *
                                 row_bytes();
    }
};

// The bottom left corner of the picture, where it is smaller than film. Floats are not rounded.
Frame make_frame(Picture picture, int32_t bits, const Size &size = film);

// Line y of such a frame alone: its channels one after the other.
std::vector<uint8_t> make_line(Picture picture, int32_t bits, int32_t y, int32_t width);

} // namespace bench
