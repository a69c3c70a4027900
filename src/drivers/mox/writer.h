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
    ZOR_IMAGE *image; // the handle
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

// Where the rows of a scanline are.
class RowSource {
public:
    // The stored samples of a channel, valid until the next call.
    virtual const void *active_row(int32_t channel, const RowCodec &codec) = 0;

protected:
    ~RowSource() = default;
};

// Makes ready for scanline y, the first of some: it must be the one expected next, and its headers
// are written if they are not in the file yet. Writes the scanline, by way of the stream's block.
// Return 0 or a negative status, reported.
int32_t begin_lines(WriteImage *sub, int y);
int32_t write_line(WriteImage *sub, int y, RowSource &source);

// Makes a record of the stored samples of a row. Returns its size, count included, which is too
// large for the count when the data are longer than max_record_data.
size_t encode_record(const RowCodec &codec, const void *active_row, int32_t active,
                     uint8_t *record);

// Notes where an active scanline starts.
void note_position(WriteImage *sub, int32_t y, int64_t position);

// Report that a scanline cannot be written: for the reason that the stream knows, or another one.
int32_t fail_write(const WriteImage &sub, int y);
int32_t fail_write(int y, const char *reason);
constexpr const char *record_too_long = "record too long";
constexpr const char *file_too_large = "file too large";

// The functions of a write handle.
int write_scanline(void *state, int y, void **rows);
int write_columns(void *state, int y, ZOR_WORD channels, ZOR_WORD first, ZOR_WORD last,
                  ZOR_WORD flags);
int write_raster(void *state, ZOR_RASTER *raster);
int close_writer(ZOR_IMAGE *image);

// Frees all of a writer but the handle.
void free_writer(ZOR_IMAGE *image, Writer *writer);

} // namespace zor::mox
