// trouble.h - why a call of a format's own library failed, and how drivers report that.
#pragma once

#include <cerrno>

#include "shared/driver_support.h"

namespace driver {

enum class Cause {
    none,
    memory,      // reported already
    ended,       // the file is too short
    file,        // the system's doing; see error
    data,        // the library's judgement of the file, or of what it was asked to write
    unsupported, // a sound file of a kind that the driver does not read
};

struct Trouble {
    Cause cause;
    int error;      // errno of a Cause::file
    int warnings;   // counted, since a hostile file can cause any number of them
    char text[256]; // what the library said, or the driver
};

// Keeps a reason of the driver's own. Returns false.
inline bool refuse(Trouble &trouble, Cause cause, const char *text) {
    trouble.cause = cause;
    std::snprintf(trouble.text, sizeof trouble.text, "%s", text);
    return false;
}

inline const char *reason(const Trouble &trouble) {
    switch (trouble.cause) {
    case Cause::memory:
        return "out of memory";
    case Cause::ended:
        return "the file is too short";
    case Cause::file:
        return std::strerror(trouble.error);
    default:
        return trouble.text;
    }
}

// Reports a file that is odd but can be used.
inline void warn(const ZOR_IMAGE &image, Trouble &trouble, const char *text) {
    constexpr int most_warnings = 8;
    if (trouble.cause != Cause::memory && trouble.warnings++ < most_warnings)
        ERR_printf(ERR_WARNING, "%s: %s", image.file_name, text);
}

// Each of these reports a failure, of opening or of a line, and returns its status.
inline int32_t fail_open(const ZOR_IMAGE &image, const Trouble &trouble) {
    const bool writing = (image.mode & ZOR_MODE_WRITE) != 0;
    const char *name = image.file_name;
    switch (trouble.cause) {
    case Cause::memory:
        return set_status(ZOR_E_MEMORY);
    case Cause::ended:
    case Cause::file:
        if (writing)
            return zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, name, reason(trouble));
        return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_OPEN, name, reason(trouble));
    case Cause::unsupported:
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_OPEN, name, reason(trouble));
    default:
        return zor__fail(writing ? ZOR_E_WRITE : ZOR_E_DECODE, ZOR_MSG_CANNOT_OPEN, name,
                         reason(trouble));
    }
}

inline int32_t fail_read(const ZOR_IMAGE &image, const Trouble &trouble, int y) {
    switch (trouble.cause) {
    case Cause::memory:
        return set_status(ZOR_E_MEMORY);
    case Cause::data:
        // The message for a line that cannot be decoded has no room for the reason.
        ERR_printf(ERR_WARNING, "%s: %s", image.file_name, reason(trouble));
        return zor__fail(ZOR_E_DECODE, ZOR_MSG_CANNOT_DECODE, y);
    default:
        return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, reason(trouble));
    }
}

inline int32_t fail_write(const Trouble &trouble, int y) {
    if (trouble.cause == Cause::memory)
        return set_status(ZOR_E_MEMORY);
    return zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE_LINE, y, reason(trouble));
}

// Closes a written file and says what was wrong with it, now or before. Data may be held back until
// here, so a full disk may show only now. Returns 0 or a negative status.
inline int finish_file(ZOR_IMAGE *image, FILE *file, Trouble &trouble, bool complete) {
    errno = 0;
    if (zor__close_file(image, file) != 0 && trouble.cause == Cause::none) {
        trouble.cause = Cause::file;
        trouble.error = errno != 0 ? errno : EIO;
    }
    if (trouble.cause == Cause::none && complete)
        return 0;
    return zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, image->file_name,
                     trouble.cause != Cause::none ? reason(trouble)
                                                  : "not all scanlines were written");
}

} // namespace driver
