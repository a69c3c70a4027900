// frames.cpp - computes the benchmark pictures.
#include "frames.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <thread>

namespace bench {
namespace {

using Pixel = std::array<float, Frame::channels>; // rgba, 0 to 1

// A fixed scrambling of its argument: the noise of a place is the same on every run.
uint32_t scramble(uint32_t x) {
    x = (x ^ (x >> 16)) * 0x7feb352dU;
    x = (x ^ (x >> 15)) * 0x846ca68bU;
    return x ^ (x >> 16);
}

float noise_at(int32_t x, int32_t y, uint32_t seed) {
    const uint32_t place = static_cast<uint32_t>(y) * 65536U + static_cast<uint32_t>(x);
    return static_cast<float>(scramble(place ^ (seed * 0x9e3779b9U)) >> 8) / 16777216.0F;
}

// Noise with features of the given size in pixels.
float soft_noise(int32_t x, int32_t y, int32_t size, uint32_t seed) {
    const auto ease = [size](int32_t v) {
        const float t = static_cast<float>(v % size) / static_cast<float>(size);
        return t * t * (3.0F - 2.0F * t);
    };
    const int32_t column = x / size;
    const int32_t line = y / size;
    const float below =
        std::lerp(noise_at(column, line, seed), noise_at(column + 1, line, seed), ease(x));
    const float above =
        std::lerp(noise_at(column, line + 1, seed), noise_at(column + 1, line + 1, seed), ease(x));
    return std::lerp(below, above, ease(y));
}

Pixel rendered(int32_t x, int32_t y) {
    struct Sphere {
        float x, y, radius;
        float colour[3];
    };
    static constexpr Sphere spheres[] = {
        {640, 760, 420, {0.9F, 0.3F, 0.2F}},
        {1350, 900, 380, {0.2F, 0.6F, 0.9F}},
        {1050, 330, 220, {0.8F, 0.8F, 0.3F}},
    };
    Pixel pixel = {0.05F, 0.05F, 0.08F, 0};
    for (const Sphere &sphere : spheres) {
        const float dx = (static_cast<float>(x) - sphere.x) / sphere.radius;
        const float dy = (static_cast<float>(y) - sphere.y) / sphere.radius;
        const float square = dx * dx + dy * dy;
        const float cover = std::clamp((1.0F - std::sqrt(square)) * sphere.radius, 0.0F, 1.0F);
        if (cover <= 0.0F)
            continue;
        const float dz = std::sqrt(std::max(0.0F, 1.0F - square));
        const float light = std::max(0.0F, 0.5F * dx + 0.5F * dy + 0.7F * dz);
        const float gloss = std::pow(light, 40.0F) * 0.6F;
        for (size_t c = 0; c < 3; ++c)
            pixel[c] = std::lerp(pixel[c], std::min(1.0F, sphere.colour[c] * light + gloss), cover);
        pixel[3] = std::max(pixel[3], cover);
    }
    return pixel;
}

// How a photograph was taken: its finest detail in pixels, and the noise of the sensor in steps of
// 8 bits where the picture is dull and what is added to it where it is lively.
struct Exposure {
    int32_t finest;
    float grain, more_grain;
};

Pixel photograph(const Exposure &exposure, int32_t x, int32_t y) {
    float tone = 0;
    float weight = 0.5F;
    for (int32_t size = 512; size >= exposure.finest; size /= 2, weight *= 0.55F)
        tone += weight * soft_noise(x, y, size, static_cast<uint32_t>(size));
    // Sharp and blurred regions, dark and burnt-out ones: the noise of the sensor varies with both.
    const float focus = soft_noise(x, y, 300, 7);
    const float grain = (exposure.grain + exposure.more_grain * focus * focus) / 255.0F;
    Pixel pixel;
    for (size_t c = 0; c < 3; ++c) {
        const uint32_t seed = 100 + static_cast<uint32_t>(c);
        const float tint = 0.25F * soft_noise(x, y, 400, seed) - 0.1F;
        const float bell = noise_at(x, y, seed + 10) + noise_at(x, y, seed + 20) +
                           noise_at(x, y, seed + 30) - 1.5F; // deviation of one half
        pixel[c] = std::clamp(1.3F * (tone + tint) - 0.15F + 2.0F * bell * grain, 0.0F, 1.0F);
    }
    pixel[3] = 1;
    return pixel;
}

// Bands of a slow landscape in eight paints, with ink of two pixels along their borders.
Pixel cel(int32_t x, int32_t y) {
    const auto height = [](int32_t across, int32_t up) {
        return 8.0F * soft_noise(across, up, 230, 3);
    };
    const float here = height(x, y);
    const float slope = std::hypot(height(x + 1, y) - here, height(x, y + 1) - here);
    const float paint = std::floor(here);
    const float to_border = std::min(here - paint, paint + 1 - here) / std::max(slope, 1e-6F);
    const float light = std::clamp(to_border - 1.0F, 0.0F, 1.0F); // without the ink
    Pixel pixel;
    for (size_t c = 0; c < 3; ++c)
        pixel[c] = light * noise_at(static_cast<int32_t>(paint), static_cast<int32_t>(c), 5);
    pixel[3] = paint < 2 ? 0.0F : 1.0F;
    return pixel;
}

Pixel pixel_of(Picture picture, int32_t x, int32_t y) {
    switch (picture) {
    case Picture::rendered:
        return rendered(x, y);
    case Picture::photograph:
        return photograph({4, 0.2F, 2.0F}, x, y);
    case Picture::sharp:
        return photograph({4, 0.8F, 1.2F}, x, y);
    case Picture::soft:
        return photograph({32, 0.25F, 0.25F}, x, y);
    case Picture::cel:
        return cel(x, y);
    case Picture::noise:
        return {noise_at(x, y, 1), noise_at(x, y, 2), noise_at(x, y, 3), noise_at(x, y, 4)};
    case Picture::flat:
        break;
    }
    return {0.2F, 0.4F, 0.6F, 1};
}

// The low bytes of the result, a little endian word, are the sample.
uint32_t sample_of(float value, int32_t bits) {
    if (bits == 32)
        return std::bit_cast<uint32_t>(value);
    return static_cast<uint32_t>(std::lround(value * static_cast<float>((1 << bits) - 1)));
}

// Samples of line y of a frame, each channel a distance from the one before.
void put_line(Picture picture, const Frame &frame, int32_t y, size_t distance, uint8_t *to) {
    const size_t size = frame.sample_size();
    for (int32_t x = 0; x < frame.width; ++x, to += size) {
        const Pixel pixel = pixel_of(picture, x, y);
        for (size_t c = 0; c < pixel.size(); ++c) {
            const uint32_t sample = sample_of(pixel[c], frame.bits);
            std::memcpy(to + c * distance, &sample, size);
        }
    }
}

} // namespace

const char *name_of(Picture picture) {
    static constexpr const char *names[] = {
        "rendered", "photograph", "sharp photograph", "soft photograph", "cel", "noise", "flat"};
    return names[static_cast<size_t>(picture)];
}

std::string name_of(const Size &size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

Frame make_frame(Picture picture, int32_t bits, const Size &size) {
    Frame frame{size.width, size.height, bits, {}};
    const size_t row = frame.row_bytes();
    const size_t plane = row * static_cast<size_t>(frame.height);
    frame.data.resize(plane * Frame::channels);
    // A second thread, because there are many frames to make.
    const auto put_lines = [&](int32_t from, int32_t to) {
        for (int32_t y = from; y < to; ++y)
            put_line(picture, frame, y, plane, frame.data.data() + static_cast<size_t>(y) * row);
    };
    std::thread half(put_lines, 0, frame.height / 2);
    put_lines(frame.height / 2, frame.height);
    half.join();
    return frame;
}

std::vector<uint8_t> make_line(Picture picture, int32_t bits, int32_t y, int32_t width) {
    const Frame shape{width, 1, bits, {}};
    std::vector<uint8_t> line(shape.row_bytes() * Frame::channels);
    put_line(picture, shape, y, shape.row_bytes(), line.data());
    return line;
}

} // namespace bench
