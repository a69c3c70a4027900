// read_raster.cpp - whole frames, or windows of them, read by several threads.
//
// The threads take turns in claiming a chunk, some lines that lie close together in the file, and
// then read and decode it by themselves: one positioned read a chunk, rows that stay in the cache
// until they are copied to the planes. Whatever goes wrong with a line there is noted and no more:
// the calling thread reads it again as a scanline, which finds out and reports what is to be said.
// One thread alone reads all lines in this way, as do all where the file cannot be positioned or
// lines are too long for a chunk.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "base/base/owned.h"
#include "core/raster.h"
#include "drivers/mox/header.h"
#include "drivers/mox/pixel_rows.h"
#include "drivers/mox/plane_rows.h"
#include "drivers/mox/read_line.h"
#include "err/status.h"
#include "platform/platform.h"

namespace zor::mox {

namespace {

constexpr int64_t most_chunk = int64_t{512} * 1024; // unless a line takes more
constexpr int64_t most_line = int64_t{1024} * 1024;
constexpr int64_t least_chunk = int64_t{16} * 1024;
constexpr int64_t least_work = int64_t{128} * 1024; // bytes of samples that are worth a thread

// Takes the rows of a line to the planes. Those of channels that are interleaved are kept until
// they can be woven into pixels.
class PlaneTarget final : public RowTarget {
public:
    // Row buffers there must be where channels share them: the first of channels decoded together
    // may be the last one of pixels.
    static constexpr int most_buffers = most_in_pixel - 1 + most_rows;

    // Buffers that serve all channels in turn, or with own_rows one for each.
    PlaneTarget(const ReadImage &sub, const ZOR_RASTER &raster, void *const *buffers, bool own_rows)
        : sub_(sub),
          raster_(raster),
          pixels_(find_pixels(raster, sub.groups)),
          buffers_(buffers),
          own_rows_(own_rows) {}

    void start(int32_t y) { y_ = y; }

    void *const *rows(int32_t first, int count) override {
        void *const *buffers = buffers_ + (own_rows_ || first < pixels_.count ? first : 0);
        for (int i = 0; i < count; ++i)
            rows_[i] = raster_.planes[first + i].samples != nullptr ? buffers[i] : nullptr;
        return rows_;
    }
    void done(int32_t first, int count, const RowCodec &codec) override {
        const int32_t size = codec.sample_size;
        const ptrdiff_t left = static_cast<ptrdiff_t>(raster_.left - sub_.win_left) * size;
        for (int i = std::max(0, pixels_.count - first); i < count; ++i)
            if (rows_[i] != nullptr)
                put(raster_.planes[first + i], static_cast<uint8_t *>(rows_[i]) + left, size, size);
        if (first < pixels_.count && first + count >= pixels_.count)
            weave(left);
    }
    // In place of all that: the line is not stored, and all zeros.
    void clear() {
        static constexpr uint8_t zero[8] = {};
        const ZOR_PLANE *plane = raster_.planes;
        for (const ChannelGroup &group : sub_.groups)
            for (int32_t i = 0; i < group.count; ++i, ++plane)
                if (plane->samples != nullptr)
                    put(*plane, zero, 0, group.codec->sample_size);
    }

private:
    void weave(ptrdiff_t left) {
        const uint8_t *rows[most_in_pixel];
        for (int32_t k = 0; k < pixels_.count; ++k)
            rows[k] = static_cast<const uint8_t *>(buffers_[pixels_.channels[k]]) + left;
        const ZOR_PLANE &plane = raster_.planes[pixels_.channels[0]];
        pixels_.mover->weave(rows, num_columns(raster_), sample_at(raster_, plane, y_, 0));
    }
    void put(const ZOR_PLANE &plane, const uint8_t *from, ptrdiff_t step, int32_t size) {
        copy_samples(from, step, sample_at(raster_, plane, y_, 0), plane.column_step,
                     num_columns(raster_), size);
    }

    const ReadImage &sub_;
    const ZOR_RASTER &raster_;
    const Pixels pixels_;
    void *const *buffers_;
    bool own_rows_;
    void *rows_[most_rows];
    int32_t y_ = 0;
};

// Records in memory.
class MemorySource final : public RecordSource {
public:
    MemorySource(const uint8_t *bytes, size_t size) : bytes_(bytes), left_(size) {}
    const uint8_t *look(size_t size) override { return size <= left_ ? bytes_ : nullptr; }
    void skip(size_t size) override {
        bytes_ += size;
        left_ -= size;
    }
    [[nodiscard]] const char *obstacle() const override { return ""; }

private:
    const uint8_t *bytes_;
    size_t left_;
};

int64_t position_of(const ReadImage &sub, int32_t y) { return sub.table[y - sub.act_bottom]; }

// Bytes that a line may take in the file, and its samples in memory.
int64_t most_of_line(const ReadImage &sub) {
    int64_t size = 0;
    for (const ChannelGroup &group : sub.groups)
        size += group.count * (int64_t{2} + std::min(sub.max_record, 0xFFFF));
    return size;
}
int64_t samples_of_line(const ReadImage &sub) {
    int64_t size = 0;
    for (const ChannelGroup &group : sub.groups)
        if (group.count > 0)
            size += int64_t{group.count} * group.codec->sample_size * sub.active;
    return size;
}

// Room for a row of any channel, with what the decoder may overrun it by.
size_t row_room(const ReadImage &sub) {
    int32_t sample_size = 0;
    for (const ChannelGroup &group : sub.groups)
        if (group.count > 0)
            sample_size = std::max(sample_size, group.codec->sample_size);
    const size_t bytes = static_cast<size_t>(row_width(sub)) * static_cast<size_t>(sample_size);
    return (bytes + 2 * codec_slack - 1) / codec_slack * codec_slack;
}

// Lines [first, end) and the part of the file that holds them.
struct Chunk {
    int32_t first, end;
    int64_t from, to;
};

// What the threads share.
struct ReadJob {
    const ReadImage &sub;
    const ZOR_RASTER &raster;
    int32_t first;
    int32_t end; // lines; less once one of them is bad
    int num_threads;
    int64_t line;            // bytes that a line may take
    int64_t capacity = 0;    // bytes of the file in a chunk
    size_t share = 0;        // bytes of memory for each thread
    Owned<uint8_t> memory{}; // of all threads
    Owned<uint8_t> bad{};    // for each line whether it has to be read again, as all that are left

    platform::Monitor monitor{}; // of all that follows, and of end
    int32_t next = first;        // line to be claimed
    int num_started = 0;
};

// How large the next chunk may be: smaller and smaller, so that the threads end at about the same
// time.
int64_t chunk_limit(const ReadJob &job) {
    const int64_t left =
        std::abs(position_of(job.sub, job.end - 1) - position_of(job.sub, job.next));
    const int64_t least = std::max(least_chunk, job.line);
    return std::clamp(left / job.num_threads / 2, least, std::max(job.capacity, least));
}

// Claims the next lines that can be read at once: they follow each other closely, in either
// direction. False when there are none left.
bool claim(ReadJob &job, Chunk *chunk) {
    const std::lock_guard lock(job.monitor);
    if (job.next >= job.end)
        return false;
    const int64_t limit = chunk_limit(job);
    int64_t low = position_of(job.sub, job.next);
    int64_t high = low;
    int64_t last = low;
    chunk->first = job.next++;
    while (job.next < job.end) {
        const int64_t position = position_of(job.sub, job.next);
        const int64_t new_low = std::min(low, position);
        const int64_t new_high = std::max(high, position);
        if (std::abs(position - last) > 4 * job.line || new_high + job.line - new_low > limit)
            break;
        low = new_low;
        high = new_high;
        last = position;
        ++job.next;
    }
    chunk->end = job.next;
    chunk->from = low;
    chunk->to = high + job.line;
    // Mostly the line behind the chunk tells where it ends.
    if (const int64_t next = job.next < job.end ? position_of(job.sub, job.next) : 0; next > high)
        chunk->to = std::min(chunk->to, next);
    chunk->to = std::min({chunk->to, low + job.capacity, job.sub.reader->stream.size});
    return true;
}

void read_chunk(ReadJob &job, const Chunk &chunk, uint8_t *bytes, PlaneTarget &target) {
    size_t size = 0;
    if (chunk.from >= static_cast<int64_t>(header_size) && chunk.to > chunk.from)
        size = read_at(job.sub.reader->stream, chunk.from, bytes,
                       static_cast<size_t>(chunk.to - chunk.from));
    std::memset(bytes + size, 0, codec_slack); // decoders look at it, whatever it is
    bool all_good = true;
    for (int32_t y = chunk.first; y < chunk.end; ++y) {
        const auto at = static_cast<size_t>(position_of(job.sub, y) - chunk.from);
        bool good = false;
        if (at < size) {
            MemorySource source(bytes + at, size - at);
            target.start(y);
            good = read_line(job.sub, source, target).status == 0;
        }
        job.bad.get()[y - job.first] = good ? 0 : 1;
        all_good &= good;
    }
    if (!all_good) { // what lies above is hardly worth it
        const std::lock_guard lock(job.monitor);
        job.end = std::min(job.end, chunk.end);
    }
}

// What each thread does.
void read_chunks(void *data) {
    auto &job = *static_cast<ReadJob *>(data);
    uint8_t *memory = job.memory.get();
    {
        const std::lock_guard lock(job.monitor);
        memory += job.share * static_cast<size_t>(job.num_started++);
    }
    void *rows[PlaneTarget::most_buffers];
    uint8_t *bytes = memory;
    for (void *&row : rows) {
        row = bytes;
        bytes += row_room(job.sub);
    }
    PlaneTarget target(job.sub, job.raster, rows, false);
    Chunk chunk;
    while (claim(job, &chunk))
        read_chunk(job, chunk, bytes, target);
}

// Reads lines [first, end), of the active ones, as chunks.
//   bad  receives which of them are to be read again, null when all are, because the file may not
//        have so much memory
// False when memory ran out, reported.
bool read_by_chunks(const ReadImage &sub, const ZOR_RASTER &raster, int32_t first, int32_t end,
                    int num_threads, Owned<uint8_t> *bad) {
    ReadJob job = {sub, raster, first, end, num_threads, most_of_line(sub)};
    job.capacity = std::min(std::max(most_chunk, job.line), sub.reader->stream.size);
    job.capacity = std::min(std::max(chunk_limit(job), job.line), job.capacity);
    job.share =
        static_cast<size_t>(job.capacity) + codec_slack + PlaneTarget::most_buffers * row_room(sub);
    const auto lines = static_cast<size_t>(end - first);
    const size_t memory = job.share * static_cast<size_t>(num_threads);
    if (sub.reader->memory + memory + lines > memory_limit(*sub.reader))
        return true;
    job.memory.reset(allocate<uint8_t>(static_cast<int64_t>(memory)));
    if (job.memory == nullptr)
        return false;
    job.bad.reset(allocate<uint8_t>(static_cast<int64_t>(lines)));
    if (job.bad == nullptr)
        return false;
    std::fill_n(job.bad.get(), lines, uint8_t{1});
    platform::run_on_threads(num_threads, read_chunks, &job);
    forget_place(&sub.reader->stream);
    *bad = std::move(job.bad);
    return true;
}

// How many threads are worth while.
int choose_threads(const ReadImage &sub, const ZOR_RASTER &raster, int32_t first, int32_t end) {
    if (!can_seek(sub.reader->stream) || most_of_line(sub) > most_line)
        return 1;
    const int64_t work = (end - first) * samples_of_line(sub);
    return static_cast<int>(std::min<int64_t>(raster.num_threads, 1 + work / least_work));
}

// Reads lines [first, end), all of them active.
int32_t read_active(const ReadImage &sub, ZOR_RASTER *raster, int32_t first, int32_t end) {
    Owned<uint8_t> bad;
    if (const int threads = choose_threads(sub, *raster, first, end); threads > 1)
        if (!read_by_chunks(sub, *raster, first, end, threads, &bad))
            return set_status(ZOR_E_MEMORY);
    PlaneTarget target(sub, *raster, sub.channels, true);
    for (int32_t y = first; y < end; ++y) {
        if (bad != nullptr && bad.get()[y - first] == 0)
            continue;
        target.start(y);
        if (const int32_t status = read_from_stream(sub, y, target); status != 0) {
            raster->lines_done = y - raster->bottom;
            return status;
        }
    }
    return 0;
}

// A request made of words: planes without gaps, and no further threads.
int32_t read_planes(const ReadImage &sub, const ZOR_RASTER &asked, ZOR_WORD channels) {
    CheckedRaster checked;
    const int32_t status =
        check_raster(*sub.reader->image, asked, word_channels(channels), &checked);
    return status != 0 ? status : read_raster(const_cast<ReadImage *>(&sub), &checked.raster);
}

} // namespace

int read_raster(void *state, ZOR_RASTER *raster) {
    const auto &sub = *static_cast<const ReadImage *>(state);
    const int32_t first = std::max(raster->bottom, sub.act_bottom);
    const int32_t end = std::min(raster->top, sub.act_top) + 1;
    const int32_t status = first < end ? read_active(sub, raster, first, end) : 0;
    if (status == ZOR_E_MEMORY && raster->lines_done == 0)
        return status; // and the planes are as they were
    PlaneTarget target(sub, *raster, nullptr, false);
    for (int32_t y = raster->bottom; y <= raster->top; ++y)
        if (y < sub.act_bottom || y > sub.act_top) {
            target.start(y);
            target.clear();
        }
    if (status == 0)
        raster->lines_done = raster->top - raster->bottom + 1;
    return status;
}

int read_window(void *state, ZOR_WORD channels, ZOR_WORD left, ZOR_WORD right, ZOR_WORD bottom,
                ZOR_WORD top) {
    const auto &sub = *static_cast<const ReadImage *>(state);
    const ZOR_RASTER asked = {sub.index,
                              word_side(left),
                              word_side(right),
                              word_side(bottom),
                              word_side(top),
                              1,
                              0,
                              nullptr,
                              0};
    return read_planes(sub, asked, channels);
}

int read_columns(void *state, int y, ZOR_WORD channels, ZOR_WORD first, ZOR_WORD last,
                 ZOR_WORD flags) {
    const auto &sub = *static_cast<const ReadImage *>(state);
    if (flags != 0)
        return zor__fail(ZOR_E_ARGUMENT, ZOR_MSG_CANNOT_HANDLE, sub.reader->image->key);
    return read_window(state, channels, first, last, y, y);
}

} // namespace zor::mox
