// stream.cpp - block reading and writing.
#include "drivers/mox/stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/base/owned.h"
#include "drivers/mox/row_codec.h"
#include "err/memory.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/str.h"

namespace zor::mox {

namespace {

size_t read_bytes(void *bytes, size_t size, FILE *file) { return std::fread(bytes, 1, size, file); }

size_t write_bytes(const void *bytes, size_t size, FILE *file) {
    return std::fwrite(bytes, 1, size, file);
}

} // namespace

const FileCalls system_file_calls = {read_bytes, write_bytes, platform::seek_file, zor__close_file,
                                     platform::read_at};

namespace {

// Replaced by tests only, while no file is open.
const FileCalls *current_calls = &system_file_calls;

} // namespace

void set_file_calls(const FileCalls *calls) { current_calls = calls; }

const FileCalls &file_calls() { return *current_calls; }

bool is_standard(FILE *file) { return file == stdin || file == stdout; }

FILE *open_file(ZOR_IMAGE *image) {
    FILE *file = zor__open_file(image);
    if (file != nullptr && !is_standard(file))
        std::setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

const char *error_text(int error, const char *otherwise) {
    if (error == 0)
        return otherwise;
    const bool known = error > 0 && error < platform::error_text_count();
    return known ? platform::error_text(error) : "input/output error";
}

// Reading ------------------------------------------------------------------------------------

namespace {

// What is read after a jump: enough for a few scanlines. Reading on from there makes it more up to
// a whole block, so that scattered accesses stay cheap and long ones are few.
constexpr int64_t first_read = int64_t{32} * 1024;
constexpr int64_t read_growth = 8;

// The room of a block at first and at last.
int64_t first_room(int64_t size) {
    constexpr auto most = static_cast<int64_t>(block_size);
    return size >= 0 ? std::min(size, most) : most;
}
int64_t last_room(int64_t size) {
    return size >= 0 ? std::min(size, static_cast<int64_t>(most_read)) : first_room(size);
}

uint8_t *new_block(int64_t room) {
    return static_cast<uint8_t *>(quiet_malloc(static_cast<size_t>(room) + codec_slack));
}

// Makes what is read at a time more, and the block with it. Going on with a small one is no
// failure.
void read_further_ahead(ReadStream *stream) {
    const int64_t room = last_room(stream->size);
    stream->read_ahead = std::min(read_growth * stream->read_ahead, room);
    if (stream->read_ahead <= stream->room)
        return;
    if (uint8_t *block = new_block(room)) {
        std::memcpy(block, stream->block, static_cast<size_t>(stream->end - stream->start));
        ERR_free(stream->block);
        stream->block = block;
        stream->room = room;
    }
    stream->read_ahead = std::min(stream->read_ahead, stream->room);
}

// Appends up to wanted bytes of the file to the block.
void read_more(ReadStream *stream, int64_t wanted) {
    if (can_seek(*stream))
        wanted = std::min(wanted, stream->size - stream->end); // no call to learn that it ended
    stream->error = 0;
    if (wanted <= 0)
        return;
    if (can_seek(*stream) && stream->file_position != stream->end) {
        errno = 0;
        if (file_calls().seek(stream->file, stream->end, SEEK_SET) != 0) {
            stream->error = errno != 0 ? errno : EIO;
            return;
        }
    }
    errno = 0;
    uint8_t *to = stream->block + (stream->end - stream->start);
    const size_t got = file_calls().read(to, static_cast<size_t>(wanted), stream->file);
    stream->end += static_cast<int64_t>(got);
    stream->file_position = stream->end;
    std::memset(to + got, 0, codec_slack); // decoders look at it, whatever it is
    if (got < static_cast<size_t>(wanted)) {
        stream->error = errno;
        if (can_seek(*stream))
            stream->file_position = -1; // one cannot tell after an error
    }
}

void empty_block(ReadStream *stream, int64_t start) { stream->start = stream->end = start; }

// Reads a stream that cannot be positioned up to its position. False when that lies behind already
// or the stream ends before.
bool skip_forward(ReadStream *stream) {
    if (stream->position < stream->end) {
        stream->error = ESPIPE;
        return false;
    }
    while (stream->end < stream->position) {
        empty_block(stream, stream->end);
        read_more(stream, std::min(stream->room, stream->position - stream->end));
        if (stream->end == stream->start)
            return false;
    }
    empty_block(stream, stream->position);
    return true;
}

// Brings size bytes from the position on into the block. Three cases: going on behind the block,
// going back by a scanline, when all in front of the scanline read before is wanted next, and
// jumping.
bool fill(ReadStream *stream, int64_t size) {
    constexpr auto line_back = static_cast<int64_t>(block_size) / 2; // the most
    const int64_t from = stream->position;
    const int64_t to = from + size;
    int64_t read_to; // at least to
    if (from >= stream->start && from <= stream->end) {
        read_further_ahead(stream);
        const auto keep = static_cast<size_t>(stream->end - from);
        std::memmove(stream->block, stream->block + (from - stream->start), keep);
        stream->start = from;
        read_to = from + std::max(size, stream->read_ahead);
    } else if (!can_seek(*stream)) {
        if (!skip_forward(stream))
            return false;
        read_to = from + std::max(size, first_read);
    } else if (from < stream->line_before && stream->line_before - from <= line_back) {
        read_further_ahead(stream);
        read_to = std::max(to, stream->line_before);
        empty_block(stream, std::max<int64_t>(0, std::min(from, read_to - stream->read_ahead)));
    } else {
        stream->read_ahead = first_read;
        read_to = from + std::max(size, first_read);
        empty_block(stream, from);
    }
    read_more(stream, read_to - stream->end);
    return stream->end >= to;
}

} // namespace

bool open_reading(ReadStream *stream, FILE *file) {
    *stream = {};
    stream->file = file;
    stream->size = is_standard(file) ? -1 : platform::length_of_opened(file);
    stream->room = first_room(stream->size);
    stream->read_ahead = first_read / read_growth; // the first read counts as reading on
    stream->block = allocate<uint8_t>(stream->room + static_cast<int64_t>(codec_slack));
    if (stream->block == nullptr)
        set_status(ZOR_E_MEMORY);
    return stream->block != nullptr;
}

uint64_t most_memory(const ReadStream &stream) {
    const int64_t first = first_room(stream.size);
    const int64_t last = last_room(stream.size);
    return static_cast<uint64_t>(last > first ? first + last : first); // one is moved to the other
}

void seek(ReadStream *stream, int64_t position) {
    stream->line_before = stream->line;
    stream->line = position;
    stream->position = position;
}

const uint8_t *fetch(ReadStream *stream, size_t size) {
    return fill(stream, static_cast<int64_t>(size))
               ? stream->block + (stream->position - stream->start)
               : nullptr;
}

const uint8_t *take(ReadStream *stream, size_t size) {
    const uint8_t *bytes = look(stream, size);
    if (bytes != nullptr)
        stream->position += static_cast<int64_t>(size);
    return bytes;
}

size_t read_at(const ReadStream &stream, int64_t position, uint8_t *bytes, size_t size) {
    return file_calls().read_at(stream.file, position, bytes, size);
}

int64_t known_size(const ReadStream &stream) { return can_seek(stream) ? stream.size : stream.end; }

// Writing ------------------------------------------------------------------------------------

namespace {

bool write_out(WriteStream *stream, const void *bytes, size_t size) {
    errno = 0;
    if (file_calls().write(bytes, size, stream->file) == size)
        return true;
    stream->failed = true;
    stream->error = errno;
    return false;
}

} // namespace

bool open_writing(WriteStream *stream, size_t most_at_a_time) {
    *stream = {};
    stream->space = std::max(size_t{16} * 1024, most_at_a_time);
    stream->block = allocate<uint8_t>(static_cast<int64_t>(stream->space));
    if (stream->block == nullptr)
        set_status(ZOR_E_MEMORY);
    return stream->block != nullptr;
}

namespace {

// Makes a full block larger. False when it stays as it is, which is no failure.
bool grow(WriteStream *stream) {
    constexpr size_t growth = 8;
    if (stream->space >= most_written)
        return false;
    const size_t space = std::min(growth * stream->space, most_written);
    auto *block = static_cast<uint8_t *>(quiet_realloc(stream->block, space));
    if (block == nullptr)
        return false;
    stream->block = block;
    stream->space = space;
    return true;
}

} // namespace

uint8_t *room(WriteStream *stream, size_t size) {
    if (stream->failed)
        return nullptr;
    while (stream->space - stream->filled < size)
        if (!grow(stream) && !flush(stream))
            return nullptr;
    return stream->block + stream->filled;
}

bool append(WriteStream *stream, const void *bytes, size_t size) {
    uint8_t *to = room(stream, size);
    if (to == nullptr)
        return false;
    if (bytes != nullptr)
        std::memcpy(to, bytes, size);
    else
        std::memset(to, 0, size);
    advance(stream, size);
    return true;
}

bool append_directly(WriteStream *stream, const uint8_t *bytes, size_t size) {
    if (!flush(stream))
        return false;
    stream->start += static_cast<int64_t>(size);
    return write_out(stream, bytes, size);
}

bool flush(WriteStream *stream) {
    if (stream->failed)
        return false;
    if (stream->filled == 0)
        return true;
    stream->start += static_cast<int64_t>(stream->filled);
    const size_t size = stream->filled;
    stream->filled = 0;
    return write_out(stream, stream->block, size);
}

bool patch(WriteStream *stream, int64_t position, const void *bytes, size_t size) {
    if (!flush(stream))
        return false;
    errno = 0;
    if (file_calls().seek(stream->file, position, SEEK_SET) != 0) {
        stream->failed = true;
        stream->error = errno;
        return false;
    }
    return write_out(stream, bytes, size);
}

} // namespace zor::mox
