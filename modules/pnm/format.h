// format.h - the formats the one source serves: what each is called, reads and writes.
#pragma once

#include <cstdint>

#include <zor/driver.h>

namespace pnm {

struct Format {
    const char *key, *extension, *name, *description;
    const char *reads;  // kinds
    const char *writes; // kinds, of which the first that can hold an image is taken
    int32_t num_channels;
    uint32_t widths; // of colours, as in imageBitsPerChannel
    int32_t num_mattes;
    uint32_t matte_widths;
    int32_t orientation;
};

// clang-format off
namespace formats {
constexpr Format pnm = {"pnm", ".pnm", "PNM", "Portable any map: bit, grey, colour, matte, float",
                        "1234567fF", "4567fF", 3, 0xFFFF, 1, 0xFFFF, 0};
constexpr Format pbm = {"pbm", ".pbm", "PBM", "Portable bitmap",
                        "14", "4", 1, 0x1, 0, 0, 0};
constexpr Format pgm = {"pgm", ".pgm", "PGM", "Portable grey map",
                        "25", "5", 1, 0xFFFF, 0, 0, 0};
constexpr Format ppm = {"ppm", ".ppm", "PPM", "Portable pixel map",
                        "36", "6", 3, 0xFFFF, 0, 0, 0};
constexpr Format pam = {"pam", ".pam", "PAM", "Portable arbitrary map",
                        "7", "7", 3, 0xFFFF, 1, 0xFFFF, 0};
constexpr Format pfm = {"pfm", ".pfm", "PFM", "Portable float map",
                        "fF", "fF", 3, 0, 0, 0, ZOR_ORIENTATION_RISING};
} // namespace formats
// clang-format on

// The open functions of all of them.
int read_open(const Format &format, ZOR_IMAGE *image);
int write_open(const Format &format, ZOR_IMAGE *image);

} // namespace pnm
