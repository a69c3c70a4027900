// colour.h - gamma and primaries between files and handles.
#pragma once

#include "codec.h"

namespace pngio {

// Takes what the file says about colour; what it does not say stays as it is. Runs after the
// file's header has been read; cannot fail.
void read_colour(Codec &codec, ZOR_IMAGE_DESC *desc);

// Puts the handle's colour into the header. To be run guarded.
void write_colour(Codec &codec, const ZOR_IMAGE_DESC &desc);

} // namespace pngio
