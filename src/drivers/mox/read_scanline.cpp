// read_scanline.cpp - from records of a file to rows of samples.
#include <algorithm>
#include <cstring>

#include "drivers/mox/header.h"
#include "drivers/mox/reader.h"

namespace zor::mox {

namespace {

constexpr size_t head_size = 2;
static_assert(most_rows * (head_size + 0xFFFF) <= block_size, "they are at hand at once");

// Records of channels of one kind, from the stream's position on.
struct Records {
    int count;
    int32_t sizes[most_rows]; // of their data
    size_t end;               // bytes they take in the file
};

// Finds records and brings them into memory in one piece. Returns what keeps it from finding all
// that are wanted, null when nothing does.
const char *find_records(const ReadImage &sub, int wanted, Records *records) {
    ReadStream &stream = sub.reader->stream;
    while (records->count < wanted) {
        const size_t data = records->end + head_size;
        const uint8_t *bytes = look(&stream, data);
        if (bytes == nullptr)
            return error_text(stream.error, "unexpected end of file");
        const int32_t size = bytes[records->end] << 8 | bytes[records->end + 1];
        if (size > sub.max_record)
            return "record too long";
        const size_t end = data + static_cast<size_t>(size);
        if (look(&stream, end) == nullptr)
            return error_text(stream.error, "unexpected end of file");
        records->sizes[records->count++] = size;
        records->end = end;
    }
    return nullptr;
}

// Decodes the records that were found. The margins are cleared every time: the row is scratch space
// to whoever had it last, and the decoder may overrun its end.
bool decode_records(const ReadImage &sub, const RowCodec &codec, const Records &records,
                    void **rows) {
    const auto bytes_of = [&codec](int32_t samples) {
        return static_cast<size_t>(samples) * static_cast<size_t>(codec.sample_size);
    };
    const size_t left = bytes_of(sub.left);
    const size_t active = bytes_of(sub.active);
    const uint8_t *bytes = take(&sub.reader->stream, records.end);
    EncodedRow encoded[most_rows];
    for (int i = 0; i < records.count; ++i) {
        const auto size = static_cast<size_t>(records.sizes[i]);
        encoded[i] = {bytes + head_size, size, static_cast<uint8_t *>(rows[i]) + left};
        bytes += head_size + size;
    }
    if (!codec.decode(encoded, records.count, sub.active))
        return false;
    for (int i = 0; i < records.count; ++i) {
        auto *row = static_cast<uint8_t *>(rows[i]);
        std::memset(row, 0, left);
        std::memset(row + left + active, 0, bytes_of(sub.right));
    }
    return true;
}

// Reads the next rows, at most most_rows. What comes first in the file is reported first, though
// records are found before any is decoded.
int32_t read_some(const ReadImage &sub, const RowCodec &codec, int y, void **rows, int num_rows) {
    Records records = {};
    const char *obstacle = find_records(sub, num_rows, &records);
    if (records.count > 0 && !decode_records(sub, codec, records, rows))
        return zor__fail(ZOR_E_DECODE, ZOR_MSG_CANNOT_DECODE, y);
    return obstacle == nullptr ? 0 : zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, obstacle);
}

int32_t read_rows(const ReadImage &sub, int y) {
    const uint32_t position = sub.table[y - sub.act_bottom];
    if (position < header_size) // nothing can be there: the scanline was never written
        return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, "the file does not have it");
    seek(&sub.reader->stream, position);
    void **rows = sub.channels;
    for (const ChannelGroup &group : sub.groups) {
        for (int32_t i = 0; i < group.count; i += most_rows) {
            const int num_rows = std::min(group.count - i, most_rows);
            if (const int32_t status = read_some(sub, *group.codec, y, rows + i, num_rows);
                status != 0)
                return status;
        }
        rows += group.count;
    }
    return 0;
}

void clear_rows(const ReadImage &sub) {
    const auto width = static_cast<size_t>(row_width(sub));
    void **row = sub.channels;
    for (const ChannelGroup &group : sub.groups)
        for (int32_t i = 0; i < group.count; ++i)
            std::memset(*row++, 0, width * static_cast<size_t>(group.codec->sample_size));
}

} // namespace

int read_scanline(void *state, int y, void **rows) {
    const auto &sub = *static_cast<const ReadImage *>(state);
    if (y < sub.win_bottom || y > sub.win_top)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    if (y < sub.act_bottom || y > sub.act_top)
        clear_rows(sub);
    else if (const int32_t status = read_rows(sub, y); status != 0)
        return status;
    *rows = sub.channels;
    return 0;
}

} // namespace zor::mox
