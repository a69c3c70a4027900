// codec.h - a libtiff handle together with the file behind it and what its callbacks need.
#pragma once

#include <cstdint>
#include <cstdio>

#include <tiffio.h>
#include <zor/driver.h>

#include "shared/trouble.h"

namespace tiffio {

// Lives at one address from open to close. Starts cleared except for image and file.
struct Codec {
    ZOR_IMAGE *image;
    FILE *file;
    FILE *back;        // a written file once more, for the little libtiff has to look up in it
    int64_t size;      // of a file that is read
    int64_t allowance; // bytes that a file which is read may take in memory
    bool discard;      // nothing is written any more
    int lost;          // errno of what failed in a file being written, which is no good since then
    TIFF *tiff;
    driver::Trouble trouble;
};

// Make libtiff's handle. False, with the trouble noted, when that failed. No directory is read yet.
bool open_reader(Codec &codec);
bool open_writer(Codec &codec, bool big);

// Frees it; a directory that is being written is dropped. What open left null is ignored.
void close(Codec &codec);

// The same where a page has no line yet: libtiff does not look at its fields once more, where it
// trips over some that it had no memory for. (It does over others that it only frees.)
void abandon(Codec &codec);

// Forgets earlier troubles, and reports what libtiff complained about while it succeeded.
void forget_trouble(Codec &codec);
void report_complaint(Codec &codec);

// Runs a call of libtiff that returns whether it succeeded. When it did not, the codec knows why.
template<class Action>
[[nodiscard]] bool run(Codec &codec, Action action) {
    forget_trouble(codec);
    // Not all that libtiff does looks at whether it could get to the place where it writes.
    if (action() && codec.lost == 0) {
        report_complaint(codec);
        return true;
    }
    if (codec.lost != 0) {
        codec.trouble.cause = driver::Cause::file;
        codec.trouble.error = codec.lost;
    }
    if (codec.trouble.cause == driver::Cause::none)
        codec.trouble.cause = driver::Cause::data;
    return false;
}

} // namespace tiffio
