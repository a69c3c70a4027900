// directories.h - the pages of a file: where the directory of each stands.
#pragma once

#include "codec.h"

namespace tiffio {

struct Directories {
    int64_t *offsets; // released with ERR_free
    int32_t count;
    int32_t room;
};

// Follows the list of pages. One that is damaged further on, or bites its own tail, ends there with
// a warning. Returns 0 or, for a file without a page, a negative status, reported.
int32_t list_directories(Codec &codec, Directories *list);

} // namespace tiffio
