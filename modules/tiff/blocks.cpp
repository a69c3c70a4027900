// blocks.cpp - decoding. Blocks are decoded whole, so that the lines in one can be had in any
// order. A page that is one large strip is too much to hold when its lines are wanted in their
// order anyway: they are decoded one by one until one is out of order.
#include "blocks.h"

#include "shared/driver_support.h"

using driver::Cause;

namespace tiffio {

namespace {

constexpr int64_t large_strip = int64_t{64} << 20;

// In floating point, because a damaged header may ask for anything.
double band_bytes(const Page &page) {
    return static_cast<double>(page.block_bytes) * blocks_across(page) * planes(page);
}

// A cleared band: what some decoders leave out of a damaged block is not to show old memory.
bool allocate_band(Codec &codec, Blocks *blocks, int64_t size) {
    ERR_free(blocks->band);
    blocks->first = -1;
    blocks->band = static_cast<uint8_t *>(driver::allocate(size));
    if (blocks->band == nullptr) {
        codec.trouble.cause = Cause::memory;
        return false;
    }
    std::memset(blocks->band, 0, static_cast<size_t>(size));
    return true;
}

bool decode_block(TIFF *tiff, const Page &page, uint8_t *to, int32_t across, int32_t line,
                  int32_t plane) {
    const auto x = static_cast<uint32_t>(int64_t{across} * page.block_width);
    const auto y = static_cast<uint32_t>(line);
    const auto sample = static_cast<uint16_t>(plane);
    const auto size = static_cast<tmsize_t>(page.block_bytes);
    if (page.tiled)
        return TIFFReadEncodedTile(tiff, TIFFComputeTile(tiff, x, y, 0, sample), to, size) >= 0;
    return TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, y, sample), to, size) >= 0;
}

bool decode_band(Codec &codec, const Page &page, Blocks *blocks, int32_t first) {
    blocks->first = -1;
    uint8_t *to = blocks->band;
    for (int32_t plane = 0; plane < planes(page); ++plane)
        for (int32_t across = 0; across < blocks_across(page); ++across) {
            if (!run(codec,
                     [&] { return decode_block(codec.tiff, page, to, across, first, plane); }))
                return false;
            to += page.block_bytes;
        }
    blocks->first = first;
    return true;
}

bool decode_line(Codec &codec, Blocks *blocks, int32_t line) {
    blocks->first = -1;
    blocks->next = -1; // should it fail
    if (!run(codec, [&] {
            return TIFFReadScanline(codec.tiff, blocks->band, static_cast<uint32_t>(line), 0) == 1;
        }))
        return false;
    blocks->first = line;
    blocks->next = line + 1;
    return true;
}

} // namespace

int32_t prepare(Codec &codec, const Page &page, Blocks *blocks) {
    blocks->first = -1;
    const bool whole_lines = !page.tiled && !page.planar;
    blocks->line_by_line = whole_lines && page.block_bytes > large_strip;
    if (!blocks->line_by_line && band_bytes(page) > static_cast<double>(codec.allowance))
        return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
    const int64_t size = blocks->line_by_line
                             ? page.line_bytes
                             : page.block_bytes * blocks_across(page) * planes(page);
    return allocate_band(codec, blocks, size) ? 0 : ZOR_E_MEMORY;
}

bool fetch(Codec &codec, const Page &page, Blocks *blocks, int32_t line) {
    const int32_t lines = blocks->line_by_line ? 1 : page.block_height;
    if (blocks->first >= 0 && line >= blocks->first && line - blocks->first < lines)
        return true;
    if (blocks->line_by_line && line == blocks->next)
        return decode_line(codec, blocks, line);
    if (blocks->line_by_line) {
        if (band_bytes(page) > static_cast<double>(codec.allowance)) {
            codec.trouble.cause = Cause::memory;
            return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY) == 0;
        }
        if (!allocate_band(codec, blocks, page.block_bytes))
            return false;
        blocks->line_by_line = false;
    }
    return decode_band(codec, page, blocks, line - line % page.block_height);
}

} // namespace tiffio
