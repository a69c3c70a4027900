// writer.h - what an open MOX file is made of while it is written.
#pragma once

#include "drivers/mox/channel_groups.h"
#include "drivers/mox/header.h"
#include "drivers/mox/stream.h"

namespace zor::mox {

// Most data that the count in front of a record can tell.
constexpr size_t max_record_data = 65535;

struct WriteImage;

// Shared by the sub-images of a file.
struct Writer {
    WriteStream stream;
    WriteImage *subs; // owned
    int32_t num_subs;
    uint32_t opened; // tick count
};

// One sub-image: the content of a data slot.
struct WriteImage {
    Writer *writer;
    int32_t index;
    int32_t win_top;
    int32_t act_bottom, act_top;
    int32_t left, active; // samples of a row: margin, stored
    int32_t next;         // scanline expected next
    ChannelGroup groups[num_groups];
    size_t record_room; // what a record needs while it is made
    uint8_t *table;     // as it goes into the file; owned
    int64_t header_at;  // position of its header; -1: not written yet
    uint8_t header[header_size];
};

inline size_t table_size(const WriteImage &sub) {
    return 4 * static_cast<size_t>(sub.act_top - sub.act_bottom + 1);
}

// Writes a sub-image's header and a placeholder for its table at the end of the file. False on
// failure.
bool write_header(WriteImage *sub);

// The scan and close functions of a write handle.
int write_scanline(void *state, int y, void **rows);
int close_writer(ZOR_IMAGE *image);

// Frees all of a writer but the handle.
void free_writer(ZOR_IMAGE *image, Writer *writer);

} // namespace zor::mox
