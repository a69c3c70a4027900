// reader.h - what an open MOX file is made of while it is read.
#pragma once

#include "drivers/mox/channel_groups.h"
#include "drivers/mox/stream.h"

namespace zor::mox {

// Shared by the sub-images of a file.
struct Reader {
    ZOR_IMAGE *image; // the handle
    ReadStream stream;
    uint64_t memory; // bytes taken so far, at least
};

// Memory that an open file may take: 64 bytes for each of its own, which covers the best its coding
// can do, and 4 MiB to start with; one whose size cannot be known counts with what has been read of
// it.
inline uint64_t memory_limit(const Reader &reader) {
    constexpr uint64_t base = uint64_t{4} * 1024 * 1024;
    return base + 64 * static_cast<uint64_t>(known_size(reader.stream));
}

// One sub-image: the content of a data slot.
struct ReadImage {
    Reader *reader;
    int32_t index;
    int32_t win_left;
    int32_t win_bottom, win_top;
    int32_t act_bottom, act_top;
    int32_t left, active, right; // samples of a row: margin, stored, margin
    ChannelGroup groups[num_groups];
    int32_t max_record; // bytes of a channel's data that are believed
    void **channels;    // belongs to the handle
    uint32_t *table;    // position of every active row, from act_bottom up; owned
};

inline int32_t row_width(const ReadImage &sub) { return sub.left + sub.active + sub.right; }
inline int32_t num_active_rows(const ReadImage &sub) { return sub.act_top - sub.act_bottom + 1; }

// The functions of a read handle.
int read_scanline(void *state, int y, void **rows);
int read_columns(void *state, int y, ZOR_WORD channels, ZOR_WORD first, ZOR_WORD last,
                 ZOR_WORD flags);
int read_window(void *state, ZOR_WORD channels, ZOR_WORD left, ZOR_WORD right, ZOR_WORD bottom,
                ZOR_WORD top);
int read_raster(void *state, ZOR_RASTER *raster);

} // namespace zor::mox
