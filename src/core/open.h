// open.h - the steps of opening that reading and writing share.
#pragma once

#include "core/handle.h"

namespace zor {

// Open a handle for reading or writing; null on failure, reported.
ZOR_IMAGE *open_for_reading(const ZOR_INFO &info);
ZOR_IMAGE *open_for_writing(const ZOR_INFO &info);

// Opens a file for reading as ZOR_open does, except that a handle that is kept is not given out.
ZOR_IMAGE *open_again(const ZOR_INFO &info);

// Chooses the driver of a handle: by key when it has one, else by the file name's extension, else
// the one of the default key, which then becomes the handle's. Null when there is none: reported,
// ZOR_E_KEY or ZOR_E_MEMORY.
const ZOR_DRIVER *choose_driver(ZOR_IMAGE *image);

// Gives a handle private copies of its driver's key and extension. An extension it has already
// stays. False when memory ran out (reported).
bool adopt_driver(ZOR_IMAGE *image, const ZOR_DRIVER &driver);

// Checks how a driver that has opened a handle describes its images. False when they cannot be:
// reported, and the handle is closed.
bool accept_descriptions(NewHandle *image);

// Reports that memory ran out; for copies of texts, which report nothing. Returns null.
ZOR_IMAGE *fail_memory();

} // namespace zor
