// read_scanline.cpp - from records of a file to rows of samples.
#include <algorithm>
#include <cstring>

#include "drivers/mox/header.h"
#include "drivers/mox/read_line.h"

namespace zor::mox {

namespace {

constexpr size_t head_size = 2;
static_assert(most_rows * (head_size + 0xFFFF) <= block_size, "they are at hand at once");

// Records of channels of one kind, from the source's position on.
struct Records {
    int count;
    int32_t sizes[most_rows]; // of their data
    size_t end;               // bytes they take in the file
};

// Finds records and brings them into memory in one piece. Returns what keeps it from finding all
// that are wanted, null when nothing does.
const char *find_records(const ReadImage &sub, RecordSource &source, int wanted, Records *records) {
    while (records->count < wanted) {
        const size_t data = records->end + head_size;
        const uint8_t *bytes = source.look(data);
        if (bytes == nullptr)
            return source.obstacle();
        const int32_t size = bytes[records->end] << 8 | bytes[records->end + 1];
        if (size > sub.max_record)
            return "record too long";
        const size_t end = data + static_cast<size_t>(size);
        if (source.look(end) == nullptr)
            return source.obstacle();
        records->sizes[records->count++] = size;
        records->end = end;
    }
    return nullptr;
}

// Decodes the records that were found, those left out excepted. The margins are cleared every time:
// the row is scratch space to whoever had it last, and the decoder may overrun its end.
bool decode_records(const ReadImage &sub, RecordSource &source, const RowCodec &codec,
                    const Records &records, void *const *rows) {
    const auto bytes_of = [&codec](int32_t samples) {
        return static_cast<size_t>(samples) * static_cast<size_t>(codec.sample_size);
    };
    const size_t left = bytes_of(sub.left);
    const size_t active = bytes_of(sub.active);
    const uint8_t *bytes = source.look(records.end);
    EncodedRow encoded[most_rows];
    int wanted = 0;
    for (int i = 0; i < records.count; ++i) {
        const auto size = static_cast<size_t>(records.sizes[i]);
        if (rows[i] != nullptr)
            encoded[wanted++] = {bytes + head_size, size, static_cast<uint8_t *>(rows[i]) + left};
        bytes += head_size + size;
    }
    source.skip(records.end);
    if (wanted > 0 && !codec.decode(encoded, wanted, sub.active))
        return false;
    const size_t right = bytes_of(sub.right);
    for (int i = 0; left + right > 0 && i < wanted; ++i) {
        auto *active_samples = static_cast<uint8_t *>(encoded[i].samples);
        std::memset(active_samples - left, 0, left);
        std::memset(active_samples + active, 0, right);
    }
    return true;
}

// The file's stream.
class StreamSource final : public RecordSource {
public:
    explicit StreamSource(ReadStream &stream) : stream_(stream) {}
    const uint8_t *look(size_t size) override { return mox::look(&stream_, size); }
    void skip(size_t size) override { stream_.position += static_cast<int64_t>(size); }
    [[nodiscard]] const char *obstacle() const override {
        return error_text(stream_.error, "unexpected end of file");
    }

private:
    ReadStream &stream_;
};

// The rows of the handle.
class OwnRows final : public RowTarget {
public:
    explicit OwnRows(void **channels) : channels_(channels) {}
    void *const *rows(int32_t first, int) override { return channels_ + first; }
    void done(int32_t, int, const RowCodec &) override {}

private:
    void **channels_;
};

void clear_rows(const ReadImage &sub) {
    const auto width = static_cast<size_t>(row_width(sub));
    void **row = sub.channels;
    for (const ChannelGroup &group : sub.groups)
        for (int32_t i = 0; i < group.count; ++i)
            std::memset(*row++, 0, width * static_cast<size_t>(group.codec->sample_size));
}

} // namespace

LineFault read_line(const ReadImage &sub, RecordSource &source, RowTarget &target) {
    int32_t first = 0; // channel of the group
    for (const ChannelGroup &group : sub.groups) {
        for (int32_t i = 0; i < group.count; i += most_rows) {
            const int count = std::min(group.count - i, most_rows);
            // What comes first in the file is told first, though records are found before any is
            // decoded.
            Records records = {};
            const char *obstacle = find_records(sub, source, count, &records);
            if (records.count > 0 &&
                !decode_records(sub, source, *group.codec, records, target.rows(first + i, count)))
                return {ZOR_E_DECODE, nullptr};
            if (obstacle != nullptr)
                return {ZOR_E_READ, obstacle};
            target.done(first + i, count, *group.codec);
        }
        first += group.count;
    }
    return {0, nullptr};
}

int32_t read_from_stream(const ReadImage &sub, int y, RowTarget &target) {
    const uint32_t position = sub.table[y - sub.act_bottom];
    if (position < header_size) // nothing can be there: the scanline was never written
        return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, "the file does not have it");
    seek(&sub.reader->stream, position);
    StreamSource source(sub.reader->stream);
    const LineFault fault = read_line(sub, source, target);
    if (fault.status == ZOR_E_DECODE)
        return zor__fail(ZOR_E_DECODE, ZOR_MSG_CANNOT_DECODE, y);
    if (fault.status != 0)
        return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, fault.obstacle);
    return 0;
}

int read_scanline(void *state, int y, void **rows) {
    const auto &sub = *static_cast<const ReadImage *>(state);
    if (y < sub.win_bottom || y > sub.win_top)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    OwnRows target(sub.channels);
    if (y < sub.act_bottom || y > sub.act_top)
        clear_rows(sub);
    else if (const int32_t status = read_from_stream(sub, y, target); status != 0)
        return status;
    *rows = sub.channels;
    return 0;
}

} // namespace zor::mox
