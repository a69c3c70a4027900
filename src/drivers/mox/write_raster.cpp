// write_raster.cpp - whole frames written by several threads.
//
// The threads take turns in claiming some lines, a chunk, and encode them. Chunks go to the file in
// the order of their lines: who has encoded the one whose turn it is writes it, and all behind it
// that are done by then, while the others go on encoding. They wait only when so many chunks are
// done that there is no memory for a further one. What goes wrong is noted, and reported by the
// calling thread at the end. One thread alone, and all where lines are too long for a chunk, write
// scanlines by way of the stream's block.
#include <algorithm>
#include <mutex>

#include "base/base/owned.h"
#include "core/raster.h"
#include "drivers/mox/pixel_rows.h"
#include "drivers/mox/plane_rows.h"
#include "drivers/mox/writer.h"
#include "err/status.h"
#include "platform/platform.h"

namespace zor::mox {

namespace {

// The most that the lines of a chunk may be coded to: most pictures take a fraction of it.
constexpr int64_t most_chunk = int64_t{1024} * 1024; // unless a line takes more
constexpr int64_t least_chunk = int64_t{256} * 1024;
constexpr int64_t most_line = int64_t{2048} * 1024;
constexpr int64_t least_work = int64_t{128} * 1024; // bytes that are worth a thread
constexpr int chunks_per_thread = 2;                // one that waits to be written, one in work

// Bytes of a row of any channel.
size_t row_room(const WriteImage &sub) {
    int32_t sample_size = 0;
    for (const ChannelGroup &group : sub.groups)
        if (group.count > 0)
            sample_size = std::max(sample_size, group.codec->sample_size);
    return static_cast<size_t>(sub.active) * static_cast<size_t>(sample_size);
}

// The rows of a line in the planes. Samples that lie apart are brought together in rows: those of
// pixels all at once, others one by one.
class PlaneSource final : public RowSource {
public:
    // With memory for that.
    PlaneSource(const WriteImage &sub, const ZOR_RASTER &raster, uint8_t *memory)
        : sub_(sub), raster_(raster), pixels_(find_pixels(raster, sub.groups)) {
        for (uint8_t *&row : rows_) {
            row = memory;
            memory += row_room(sub);
        }
    }
    static size_t memory(const WriteImage &sub) { return num_rows * row_room(sub); }

    void start(int32_t y) {
        y_ = y;
        taken_apart_ = false;
    }

    const void *active_row(int32_t channel, const RowCodec &codec) override {
        if (channel < pixels_.count) {
            if (!taken_apart_)
                take_apart();
            return rows_[channel];
        }
        const ZOR_PLANE &plane = raster_.planes[channel];
        const uint8_t *from = sample_at(raster_, plane, y_, sub_.left);
        if (plane.column_step == codec.sample_size)
            return from;
        uint8_t *row = rows_[most_in_pixel];
        copy_samples(from, plane.column_step, row, codec.sample_size, sub_.active,
                     codec.sample_size);
        return row;
    }

private:
    // Those of pixels stay while the line does; the last is for any other channel, one by one.
    static constexpr size_t num_rows = most_in_pixel + 1;

    void take_apart() {
        uint8_t *rows[most_in_pixel];
        for (int32_t k = 0; k < pixels_.count; ++k)
            rows[k] = rows_[pixels_.channels[k]];
        const ZOR_PLANE &plane = raster_.planes[pixels_.channels[0]];
        pixels_.mover->unweave(sample_at(raster_, plane, y_, sub_.left), sub_.active, rows);
        taken_apart_ = true;
    }

    const WriteImage &sub_;
    const ZOR_RASTER &raster_;
    const Pixels pixels_;
    uint8_t *rows_[num_rows];
    int32_t y_ = 0;
    bool taken_apart_ = false;
};

// The most that a line can be coded to.
int64_t most_of_line(const WriteImage &sub) {
    int64_t size = 0;
    for (const ChannelGroup &group : sub.groups)
        if (group.count > 0)
            size += group.count * static_cast<int64_t>(2 + group.codec->max_encoded(sub.active));
    return size;
}

// Some lines and what they are coded to.
struct Chunk {
    int32_t first, end;
    const char *obstacle; // why the lines end before the chunk does
    size_t size;
    uint32_t *starts; // of the lines within the bytes
    uint8_t *bytes;
    bool coded; // and not written yet
};

// What the threads share.
struct WriteJob {
    WriteImage &sub;
    const ZOR_RASTER &raster;
    int32_t end; // line behind the last one
    int num_threads;
    int64_t line; // bytes that a line may take
    int32_t most_lines = 0;
    uint8_t *rows = nullptr; // memory for the source of each thread
    Owned<Chunk> chunks{};   // claimed, coded and written in turn, again and again
    int num_chunks = 0;

    platform::Monitor monitor{}; // of all that follows
    int32_t next = sub.next;     // line to be claimed
    int64_t num_claimed = 0;     // chunks
    int64_t num_written = 0;
    bool writing = false; // somebody is
    int num_started = 0;
    bool failed = false;
    const char *reason = nullptr; // null: the stream knows it

    [[nodiscard]] Chunk &chunk(int64_t number) const { return chunks.get()[number % num_chunks]; }
};

// How many lines the next chunk has: fewer and fewer, so that the threads end at about the same
// time.
int32_t chunk_lines(const WriteJob &job) {
    const int32_t left = job.end - job.next;
    const auto most = static_cast<int32_t>(std::max<int64_t>(1, most_chunk / job.line));
    const auto least = static_cast<int32_t>(std::max<int64_t>(1, least_chunk / job.line));
    return std::min(left, std::clamp(left / (2 * job.num_threads), least, most));
}

// Null when there are no lines left, or no use in going on.
Chunk *claim(WriteJob &job) {
    const std::lock_guard lock(job.monitor);
    while (!job.failed && job.next < job.end && job.num_claimed - job.num_written == job.num_chunks)
        job.monitor.wait();
    if (job.failed || job.next >= job.end)
        return nullptr;
    Chunk &chunk = job.chunk(job.num_claimed++);
    chunk.first = job.next;
    job.next += std::min(chunk_lines(job), job.most_lines);
    chunk.end = job.next;
    return &chunk;
}

// Encodes a line behind the others. False when one of its records cannot be described.
bool encode_line(const WriteImage &sub, PlaneSource &source, Chunk *chunk) {
    int32_t channel = 0;
    size_t size = chunk->size;
    for (const ChannelGroup &group : sub.groups)
        for (int32_t i = 0; i < group.count; ++i) {
            const void *row = source.active_row(channel++, *group.codec);
            const size_t record = encode_record(*group.codec, row, sub.active, chunk->bytes + size);
            if (record > 2 + max_record_data)
                return false;
            size += record;
        }
    chunk->size = size;
    return true;
}

void encode(const WriteImage &sub, PlaneSource &source, Chunk *chunk) {
    chunk->size = 0;
    chunk->obstacle = nullptr;
    for (int32_t y = chunk->first; y < chunk->end; ++y) {
        source.start(y);
        chunk->starts[y - chunk->first] = static_cast<uint32_t>(chunk->size);
        if (!encode_line(sub, source, chunk)) {
            chunk->end = y; // which also ends the loop
            chunk->obstacle = record_too_long;
        }
    }
}

// Appends a chunk to the file. The stream's block is empty. False on failure, with the next line
// set to the one that failed.
bool write_chunk(WriteJob &job, Chunk *chunk) {
    WriteStream &stream = job.sub.writer->stream;
    const int64_t at = current_position(stream);
    int32_t end = chunk->first;
    while (end < chunk->end && at + chunk->starts[end - chunk->first] <= UINT32_MAX)
        ++end;
    if (end < chunk->end) {
        chunk->size = chunk->starts[end - chunk->first];
        chunk->obstacle = file_too_large;
    }
    if (chunk->size > 0 && !append_directly(&stream, chunk->bytes, chunk->size))
        return false;
    for (int32_t y = chunk->first; y < end; ++y)
        note_position(&job.sub, y, at + chunk->starts[y - chunk->first]);
    job.sub.next = end;
    job.reason = chunk->obstacle;
    return chunk->obstacle == nullptr;
}

// Hands over a chunk that has been encoded. Writes what is due, unless another thread is about it
// already, which then goes on with this one.
void write_in_turn(WriteJob &job, Chunk *chunk) {
    std::unique_lock lock(job.monitor);
    chunk->coded = true;
    if (job.writing)
        return;
    job.writing = true;
    while (!job.failed && job.chunk(job.num_written).coded) {
        Chunk &due = job.chunk(job.num_written);
        lock.unlock();
        const bool good = write_chunk(job, &due);
        lock.lock();
        due.coded = false;
        ++job.num_written;
        job.failed = !good;
        job.monitor.wake_all();
    }
    job.writing = false;
}

constexpr size_t round_up(size_t size) { return (size + 63) / 64 * 64; }

size_t source_memory(const WriteImage &sub) { return round_up(PlaneSource::memory(sub)); }

// What each thread does.
void write_chunks(void *data) {
    auto &job = *static_cast<WriteJob *>(data);
    uint8_t *rows = job.rows;
    {
        const std::lock_guard lock(job.monitor);
        rows += source_memory(job.sub) * static_cast<size_t>(job.num_started++);
    }
    PlaneSource source(job.sub, job.raster, rows);
    while (Chunk *chunk = claim(job)) {
        encode(job.sub, source, chunk);
        write_in_turn(job, chunk);
    }
}

// Writes the active lines from the next one up to an end as chunks. Returns 0 or a negative status,
// reported.
int32_t write_by_chunks(WriteImage *sub, const ZOR_RASTER &raster, int32_t end, int num_threads) {
    WriteJob job = {*sub, raster, end, num_threads, most_of_line(*sub)};
    job.most_lines = chunk_lines(job); // the first chunk is the largest
    job.num_chunks = chunks_per_thread * num_threads;
    const size_t starts = round_up(static_cast<size_t>(job.most_lines) * sizeof(uint32_t));
    const size_t coded =
        round_up(static_cast<size_t>(job.most_lines) * static_cast<size_t>(job.line) + codec_slack);
    const Owned<uint8_t> memory(
        allocate<uint8_t>(num_threads * static_cast<int64_t>(source_memory(*sub)) +
                          job.num_chunks * static_cast<int64_t>(starts + coded)));
    if (memory == nullptr)
        return set_status(ZOR_E_MEMORY);
    job.chunks.reset(allocate<Chunk>(job.num_chunks));
    if (job.chunks == nullptr)
        return set_status(ZOR_E_MEMORY);
    job.rows = memory.get();
    uint8_t *next = job.rows + num_threads * static_cast<ptrdiff_t>(source_memory(*sub));
    for (int64_t i = 0; i < job.num_chunks; ++i, next += starts + coded)
        job.chunk(i) = {0, 0, nullptr, 0, reinterpret_cast<uint32_t *>(next), next + starts, false};
    if (!flush(&sub->writer->stream))
        return fail_write(*sub, sub->next);
    platform::run_on_threads(num_threads, write_chunks, &job);
    if (!job.failed)
        return 0;
    return job.reason != nullptr ? fail_write(sub->next, job.reason) : fail_write(*sub, sub->next);
}

// Writes lines up to an end one by one.
int32_t write_by_lines(WriteImage *sub, const ZOR_RASTER &raster, int32_t end) {
    const Owned<uint8_t> memory(allocate<uint8_t>(static_cast<int64_t>(PlaneSource::memory(*sub))));
    if (memory == nullptr)
        return set_status(ZOR_E_MEMORY);
    PlaneSource source(*sub, raster, memory.get());
    while (sub->next < end) {
        source.start(sub->next);
        if (const int32_t status = write_line(sub, sub->next, source); status != 0)
            return status;
    }
    return 0;
}

// Writes lines of which the first one is expected next.
int32_t write_lines(WriteImage *sub, const ZOR_RASTER &raster) {
    // Margins are not stored.
    sub->next = std::clamp(sub->act_bottom, raster.bottom, raster.top + 1);
    const int32_t end = std::clamp(sub->act_top + 1, sub->next, raster.top + 1);
    const int64_t work = (end - sub->next) * most_of_line(*sub);
    const auto threads =
        static_cast<int>(std::min<int64_t>(raster.num_threads, 1 + work / least_work));
    const int32_t status = threads == 1 || most_of_line(*sub) > most_line
                               ? write_by_lines(sub, raster, end)
                               : write_by_chunks(sub, raster, end, threads);
    if (status == 0)
        sub->next = raster.top + 1;
    else if (status == ZOR_E_MEMORY) // which is known before anything is written
        sub->next = raster.bottom;
    return status;
}

} // namespace

int write_raster(void *state, ZOR_RASTER *raster) {
    auto *sub = static_cast<WriteImage *>(state);
    if (const int32_t status = begin_lines(sub, raster->bottom); status != 0)
        return status;
    const int32_t status = write_lines(sub, *raster);
    raster->lines_done = sub->next - raster->bottom;
    return status;
}

int write_columns(void *state, int y, ZOR_WORD channels, ZOR_WORD first, ZOR_WORD last,
                  ZOR_WORD flags) {
    auto *sub = static_cast<WriteImage *>(state);
    const ZOR_IMAGE &image = *sub->writer->image;
    if (flags != 0)
        return zor__fail(ZOR_E_ARGUMENT, ZOR_MSG_CANNOT_HANDLE, image.key);
    const ZOR_RASTER asked = {sub->index, word_side(first), word_side(last), y, y, 1, 0, nullptr,
                              0};
    CheckedRaster checked;
    const int32_t status = check_raster(image, asked, word_channels(channels), &checked);
    return status != 0 ? status : write_raster(sub, &checked.raster);
}

} // namespace zor::mox
