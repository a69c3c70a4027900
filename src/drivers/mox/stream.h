// stream.h - files read and written in large blocks.
//
// A system call for each record costs more than decoding it, and the buffer of a FILE is too small
// to help: files that the driver opened itself are unbuffered, and these streams move them in
// blocks of their own, which start small and grow with what is moved. Standard streams keep their
// buffer and are never positioned.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "zor/driver.h"

namespace zor::mox {

constexpr size_t block_size = size_t{256} * 1024; // as much may always be taken at a time
// What blocks grow to. Writing larger ones saves calls, but takes longer.
constexpr size_t most_read = size_t{512} * 1024;
constexpr size_t most_written = size_t{832} * 1024;

// The file functions that streams use, so that tests can make one fail. They set errno when they
// do.
struct FileCalls {
    size_t (*read)(void *bytes, size_t size, FILE *file);
    size_t (*write)(const void *bytes, size_t size, FILE *file);
    int (*seek)(FILE *file, int64_t position, int origin);
    int (*close)(ZOR_IMAGE *image, FILE *file);
    size_t (*read_at)(FILE *file, int64_t position, void *bytes, size_t size);
};
extern const FileCalls system_file_calls;
void set_file_calls(const FileCalls *calls); // which must stay
const FileCalls &file_calls();

// The handle's file, opened and unbuffered unless it is a standard stream; null when that failed
// (reported).
FILE *open_file(ZOR_IMAGE *image);
bool is_standard(FILE *file);

// The system's text for an error number, or another one for 0, which stands for no error at all.
const char *error_text(int error, const char *otherwise);

// A file being read. Start with open_reading; free block when done. Any number of bytes up to
// block_size may be taken at a time, in any order on files that can be positioned. Of these no more
// than the size they had when they were opened is read.
struct ReadStream {
    FILE *file;
    uint8_t *block;   // room bytes and codec_slack more
    int64_t room;     // at least the smaller of block_size and what the file has
    int64_t size;     // of the file; -1: not known, and it cannot be positioned
    int error;        // of the latest failure, 0 when the file just ended
    int64_t position; // of the next byte to take
    int64_t start;    // what the block holds: bytes [start, end) of the file
    int64_t end;
    int64_t file_position; // where the file stands; -1: not known
    int64_t read_ahead;    // bytes to read at a time
    int64_t line;          // where the latest two seeks went
    int64_t line_before;
};
inline bool can_seek(const ReadStream &stream) { return stream.size >= 0; }

// False when the block cannot be allocated (reported).
bool open_reading(ReadStream *stream, FILE *file);

// Most memory that the stream's block will ever take.
uint64_t most_memory(const ReadStream &stream);

// Makes the position the place of the next take. Costs nothing until then.
void seek(ReadStream *stream, int64_t position);

// The next size bytes, a block at most, with codec_slack bytes readable behind them; valid until
// the next look or take. Null when the file ends before, or cannot be read: error tells, and what
// was looked at before can be again.
const uint8_t *fetch(ReadStream *stream, size_t size); // where they are not in the block yet
inline const uint8_t *look(ReadStream *stream, size_t size) {
    const bool at_hand = stream->position >= stream->start &&
                         stream->position + static_cast<int64_t>(size) <= stream->end;
    return at_hand ? stream->block + (stream->position - stream->start) : fetch(stream, size);
}

// The same, and moves the position behind them.
const uint8_t *take(ReadStream *stream, size_t size);

// Reads bytes of a file that can be positioned, past the block. Several threads may at once, while
// nothing else is done with the stream. Returns how many there were. To be told of, by any of them
// afterwards, with forget_place: the file may stand anywhere then.
size_t read_at(const ReadStream &stream, int64_t position, uint8_t *bytes, size_t size);
inline void forget_place(ReadStream *stream) { stream->file_position = -1; }

// Bytes there are in the file, as far as one can know.
int64_t known_size(const ReadStream &stream);

// A file being written. Start with open_writing; free block when done. After a failure everything
// else fails too.
struct WriteStream {
    FILE *file;
    uint8_t *block; // space bytes
    size_t space;
    size_t filled;
    int64_t start; // place of the block in the file
    bool failed;
    int error;
};

// Starts with a block in which there will be room for so many bytes at a time. False when it cannot
// be allocated (reported). The file may be given later.
bool open_writing(WriteStream *stream, size_t most_at_a_time);

inline int64_t current_position(const WriteStream &stream) {
    return stream.start + static_cast<int64_t>(stream.filled);
}

// Room for size bytes at the current position; null after a failure. What was put there becomes
// part of the file with advance.
uint8_t *room(WriteStream *stream, size_t size);
inline void advance(WriteStream *stream, size_t size) { stream->filled += size; }

// Append bytes, null standing for zeros; write out what is pending; overwrite bytes written
// before, after which nothing can be appended any more. False on failure.
bool append(WriteStream *stream, const void *bytes, size_t size);
bool append_directly(WriteStream *stream, const uint8_t *bytes, size_t size); // past the block
bool flush(WriteStream *stream);
bool patch(WriteStream *stream, int64_t position, const void *bytes, size_t size);

} // namespace zor::mox
