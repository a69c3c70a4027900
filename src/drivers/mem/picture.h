// picture.h - an image held in memory: what is known of it, and its samples.
#pragma once

#include "zor/driver.h"

namespace zor::mem {

struct SubImage {
    const ZOR_IMAGE_DESC *desc; // the picture's
    size_t row_size;            // bytes of a stored row: all channels' active samples
    uint8_t *rows;              // owned, null without channels; the rows of the active window from
                                // the bottom up, then a byte for each: whether it was ever written
};

// Filled by one handle; nothing of it changes once others can see it.
struct Picture {
    void *links[2]; // of the table
    int32_t users;  // the handles it is open in, and the table; guarded by the table's lock
    ZOR_INFO info;  // file_name is the name it goes by; the response curves' tables are its own
    SubImage *subs; // owned; one for each of the info's images
};

// A picture for all that a write handle describes, with one user. Null on failure, reported.
Picture *new_picture(const ZOR_IMAGE &image);
void free_picture(Picture *picture);

// Gives a read handle copies of all that is known of a picture. False on failure, reported.
bool describe_handle(ZOR_IMAGE *image, const Picture &picture);

// Rows are counted from 0, the bottom of the window, on.
bool has_row(const SubImage &sub, int32_t y);

// Copy the samples of a row; outside the active window samples are dropped, and read as 0. So are
// those of rows that were never written.
void store_row(SubImage *sub, int32_t y, void *const *rows);
void load_row(const SubImage &sub, int32_t y, void *const *rows);

} // namespace zor::mem
