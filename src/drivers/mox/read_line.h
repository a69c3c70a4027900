// read_line.h - decoding a scanline, wherever its records come from and its rows go.
#pragma once

#include "drivers/mox/reader.h"

namespace zor::mox {

// Where the records of a scanline are found.
class RecordSource {
public:
    // The next size bytes, with codec_slack bytes readable behind them, valid until the next look;
    // null when they are not to be had.
    virtual const uint8_t *look(size_t size) = 0;
    // Goes on behind size bytes that were looked at.
    virtual void skip(size_t size) = 0;
    // Why the latest look found nothing.
    [[nodiscard]] virtual const char *obstacle() const = 0;

protected:
    ~RecordSource() = default;
};

// Takes the rows of a scanline, a few channels of one kind at a time.
class RowTarget {
public:
    // Rows for count channels, codec_slack bytes apart and with as many behind the last one. Null
    // leaves a channel out.
    virtual void *const *rows(int32_t first, int count) = 0;
    // They are filled in now.
    virtual void done(int32_t first, int count, const RowCodec &codec) = 0;

protected:
    ~RowTarget() = default;
};

// What keeps a scanline from being read: a status and what there is to say to ZOR_E_READ.
struct LineFault {
    int32_t status;
    const char *obstacle;
};

// Reads the active scanline whose records come next in a source. Reports nothing.
LineFault read_line(const ReadImage &sub, RecordSource &source, RowTarget &target);

// Reads active scanline y by way of the file's stream. Returns 0 or a negative status, reported.
int32_t read_from_stream(const ReadImage &sub, int y, RowTarget &target);

} // namespace zor::mox
