// blocks.h - decoding: the blocks that hold a line, kept while lines near it are wanted.
#pragma once

#include "page.h"

namespace tiffio {

// Decoded blocks of the current page. Starts cleared.
struct Blocks {
    uint8_t *band;     // the blocks side by side, those of one plane behind those of another; when
                       // lines are decoded one by one, a line
    int32_t first;     // the first of the page's lines in the band; -1 when it holds nothing
    bool line_by_line; // as long as lines are wanted in their order
    int32_t next;      // the line that libtiff gives next, if line by line; -1 when that is unknown
};

// Whether the band may be had, and how. Nothing is decoded yet. Returns 0 or a negative status,
// reported.
int32_t prepare(Codec &codec, const Page &page, Blocks *blocks);

// Decodes what holds a line, unless it is there. False on failure: the codec knows why.
bool fetch(Codec &codec, const Page &page, Blocks *blocks, int32_t line);

} // namespace tiffio
