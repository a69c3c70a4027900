// texts.h - texts between files and handles.
#pragma once

#include "codec.h"

namespace tiffio {

// Takes the current page's texts the handle has a place for. False, reported, when memory ran out.
bool read_texts(Codec &codec);

// Puts the handle's texts into the page that is written, except those that only stand in for none.
// False when libtiff would not have them.
bool write_texts(Codec &codec);

} // namespace tiffio
