// reader.h - the state of a read handle.
#pragma once

#include "blocks.h"
#include "directories.h"

namespace tiffio {

// A page that can be read.
struct View {
    Page page;
    Blocks blocks;
    void **rows; // handed out
};

void release(View *view);

// A run through the frames of a file; see playback.cpp.
struct Playback {
    bool running;
    bool loop;
    int64_t first, last, step;
};

struct Reader {
    Codec codec;
    Directories pages;
    int32_t current;     // the page that is read, counted from 0
    View view;           // of it
    bool lost;           // libtiff stands at no page
    float default_gamma; // of pages that state none
    Playback playback;
};

// Frames are counted from the handle's first one.
inline int64_t frame_of(const Reader &reader, int32_t page) {
    return int64_t{reader.codec.image->first_frame} + page;
}

// Makes a page the current one, which then is what the handle's description tells of. The page
// before stays when that fails. Returns 0 or a negative status, reported.
int32_t show_page(Reader &reader, int32_t page);

// Installs the functions for frames and playback.
void offer_frames(ZOR_IMAGE *image);
void offer_playback(ZOR_IMAGE *image);

// The driver's set_frame.
int set_frame(void *state, ZOR_WORD frame);

} // namespace tiffio
