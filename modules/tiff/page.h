// page.h - what one page of a file holds, and how.
#pragma once

#include "codec.h"

namespace tiffio {

// A page as it is in the file: pixels of samples, in blocks that are decoded one by one. Strips are
// blocks as wide as the page.
struct Page {
    int32_t width, height;
    int32_t samples; // in a pixel: colours, mattes, auxiliary channels
    int32_t bits;    // of a sample: 1 to 16, 32 or 64
    int32_t type;    // ZOR_C_...
    int32_t colours; // samples of colour: 1 or 3
    int32_t mattes;
    const uint16_t *palette[3]; // the first is null without one; libtiff's, as long as the page is
                                // the current one
    int32_t palette_bits;       // of the colours handed out: 8 or 16, out of an entry's 16
    int32_t palette_shift;      // bits below those
    bool inverted;              // 0 is white
    bool mirrored;              // the first column is at the right
    bool rising;                // the first line is at the bottom
    bool planar;                // each sample has blocks of its own
    bool tiled;
    int32_t block_width, block_height;
    int64_t block_bytes, line_bytes; // of a decoded block, and of one of its lines
};

inline int32_t blocks_across(const Page &page) { return (page.width - 1) / page.block_width + 1; }
inline int32_t planes(const Page &page) { return page.planar ? page.samples : 1; }

// Channels as they are handed out.
inline int32_t channels(const Page &page) {
    return page.samples + (page.palette[0] != nullptr ? 2 : 0);
}

// Makes the page whose directory is there libtiff's current one, and finds out about it. Returns 0
// or a negative status, reported.
int32_t enter_page(Codec &codec, int64_t directory, Page *page);

// The page's description. Texts are left null, and the curve when the page does not tell it.
void describe(const Codec &codec, const Page &page, ZOR_IMAGE_DESC *desc);

} // namespace tiffio
