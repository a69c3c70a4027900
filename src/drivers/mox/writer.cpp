// writer.cpp - from rows of samples to records, and what makes the file complete at the end.
//
// Tables are written as zeros first, which no reader takes for scanlines, and filled in only when
// the file is closed and nothing went wrong: a damaged file never looks good.
#include "drivers/mox/writer.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "drivers/mox/driver.h"
#include "platform/platform.h"

namespace zor::mox {

namespace {

void put_big32(uint8_t *bytes, int64_t value) {
    for (int i = 3; i >= 0; --i, value >>= 8)
        bytes[i] = static_cast<uint8_t>(value & 0xFF);
}

// The rows that a scan call hands over.
class CallersRows final : public RowSource {
public:
    CallersRows(const WriteImage &sub, void **rows) : sub_(sub), rows_(rows) {}
    const void *active_row(int32_t channel, const RowCodec &codec) override {
        return static_cast<const uint8_t *>(rows_[channel]) +
               static_cast<size_t>(sub_.left) * static_cast<size_t>(codec.sample_size);
    }

private:
    const WriteImage &sub_;
    void **rows_;
};

// Whether all records of a scanline can be described by their counts. Only very wide rows need to
// be looked at: they are coded once more for it, with nothing kept.
bool records_fit(const WriteImage &sub, RowSource &source, uint8_t *scratch) {
    int32_t channel = 0;
    for (const ChannelGroup &group : sub.groups)
        for (int32_t i = 0; i < group.count; ++i)
            if (group.codec->encode(source.active_row(channel++, *group.codec), sub.active,
                                    scratch) > max_record_data)
                return false;
    return true;
}

bool write_record(const WriteImage &sub, const RowCodec &codec, const void *active_row) {
    WriteStream &stream = sub.writer->stream;
    uint8_t *record = room(&stream, sub.record_room);
    if (record == nullptr)
        return false;
    advance(&stream, encode_record(codec, active_row, sub.active, record));
    return true;
}

int32_t write_rows(WriteImage *sub, int y, RowSource &source) {
    WriteStream &stream = sub->writer->stream;
    uint8_t *scratch = room(&stream, sub->record_room);
    if (scratch == nullptr)
        return fail_write(*sub, y);
    if (sub->record_room > 2 + max_record_data + codec_slack && !records_fit(*sub, source, scratch))
        return fail_write(y, record_too_long);
    if (current_position(stream) > UINT32_MAX)
        return fail_write(y, file_too_large);

    note_position(sub, y, current_position(stream));
    int32_t channel = 0;
    for (const ChannelGroup &group : sub->groups)
        for (int32_t i = 0; i < group.count; ++i)
            if (!write_record(*sub, *group.codec, source.active_row(channel++, *group.codec)))
                return fail_write(*sub, y);
    return 0;
}

// Writes the headers up to a sub-image that are not in the file yet.
bool write_headers_up_to(Writer *writer, int32_t index) {
    for (int32_t i = 0; i <= index; ++i)
        if (writer->subs[i].header_at < 0 && !write_header(&writer->subs[i]))
            return false;
    return true;
}

} // namespace

bool write_header(WriteImage *sub) {
    WriteStream &stream = sub->writer->stream;
    const int64_t at = current_position(stream);
    if (at > INT32_MAX) { // the chain could not point there
        stream.failed = true;
        stream.error = EFBIG;
        return false;
    }
    sub->header_at = at;
    return append(&stream, sub->header, header_size) && append(&stream, nullptr, table_size(*sub));
}

int32_t fail_write(const WriteImage &sub, int y) {
    return fail_write(y, error_text(sub.writer->stream.error, "short write"));
}

int32_t fail_write(int y, const char *reason) {
    return zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE_LINE, y, reason);
}

size_t encode_record(const RowCodec &codec, const void *active_row, int32_t active,
                     uint8_t *record) {
    const size_t size = codec.encode(active_row, active, record + 2);
    record[0] = static_cast<uint8_t>(size >> 8 & 0xFF);
    record[1] = static_cast<uint8_t>(size & 0xFF);
    return 2 + size;
}

void note_position(WriteImage *sub, int32_t y, int64_t position) {
    put_big32(sub->table + 4 * static_cast<size_t>(y - sub->act_bottom), position);
}

int32_t begin_lines(WriteImage *sub, int y) {
    if (y != sub->next || y > sub->win_top)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    if (sub->header_at < 0 && !write_headers_up_to(sub->writer, sub->index))
        return fail_write(*sub, y);
    return 0;
}

int32_t write_line(WriteImage *sub, int y, RowSource &source) {
    if (const int32_t status = begin_lines(sub, y); status != 0)
        return status;
    if (y >= sub->act_bottom && y <= sub->act_top)
        if (const int32_t status = write_rows(sub, y, source); status != 0)
            return status;
    ++sub->next;
    return 0;
}

int write_scanline(void *state, int y, void **rows) {
    auto *sub = static_cast<WriteImage *>(state);
    CallersRows source(*sub, rows);
    return write_line(sub, y, source);
}

void format_elapsed(char (&text)[time_size], uint32_t seconds) {
    const uint32_t hours = seconds / 3600;
    std::snprintf(text, sizeof text, "%02u:%02u:%02u", static_cast<unsigned>(hours % 100000),
                  static_cast<unsigned>(seconds / 60 % 60), static_cast<unsigned>(seconds % 60));
}

namespace {

// Links the headers, puts the tables in the place of their placeholders and notes the time it all
// took: one piece of the file for each sub-image. False on failure.
bool patch_file(Writer *writer) {
    WriteStream *stream = &writer->stream;
    char elapsed[time_size] = {};
    format_elapsed(elapsed, (platform::tick_count() - writer->opened) / 1000);
    for (int32_t i = 0; i < writer->num_subs; ++i) {
        WriteImage &sub = writer->subs[i];
        if (i == 0)
            std::memcpy(sub.header + time_position, elapsed, sizeof elapsed);
        if (i + 1 < writer->num_subs)
            put_big32(sub.header + next_position, writer->subs[i + 1].header_at);
        // The table is right behind the header; they are brought together where the stream has
        // nothing any more.
        const size_t from = i == 0 ? time_position : next_position;
        const size_t of_header = header_size - from;
        std::memcpy(stream->block, sub.header + from, of_header);
        std::memcpy(stream->block + of_header, sub.table, table_size(sub));
        if (!patch(stream, sub.header_at + static_cast<int64_t>(from), stream->block,
                   of_header + table_size(sub)))
            return false;
    }
    return true;
}

// What is still missing in the file. A standard output stays as it was streamed: what was written
// cannot be reached any more.
bool complete_file(Writer *writer) {
    return write_headers_up_to(writer, writer->num_subs - 1) && flush(&writer->stream) &&
           (is_standard(writer->stream.file) || patch_file(writer));
}

} // namespace

int close_writer(ZOR_IMAGE *image) {
    Writer *writer = static_cast<WriteImage *>(image->data[0])->writer;
    bool good = complete_file(writer);
    errno = 0;
    if (file_calls().close(image, writer->stream.file) != 0) {
        writer->stream.error = good ? errno : writer->stream.error;
        good = false;
    }
    const int32_t status = good ? 0
                                : zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, image->file_name,
                                            error_text(writer->stream.error, "short write"));
    free_writer(image, writer);
    zor__free_obj(image);
    return status;
}

void free_writer(ZOR_IMAGE *image, Writer *writer) {
    for (int32_t i = 0; i < writer->num_subs; ++i)
        ERR_free(writer->subs[i].table);
    ERR_free(writer->subs);
    for (int32_t i = 0; i < image->num_slots; ++i)
        image->data[i] = nullptr;
    ERR_free(writer->stream.block);
    ERR_free(writer);
}

} // namespace zor::mox
