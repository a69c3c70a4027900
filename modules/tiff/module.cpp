// module.cpp - the symbols of one module. Compiled once for each extension: TIFF_KEY,
// TIFF_EXTENSION.
#include <tiff.h>

#include "open.h"
#include "options.h"
#include "shared/driver_support.h"

ZOR_MODULE(TIFF_KEY, TIFF_EXTENSION, "TIFF", 0); // falling: written top row first
ZOR_MODULE_TEXT(imageDescription,
                "Tagged image files: grey, colour, mattes, 1 to 32 bits, float, several pages");
ZOR_MODULE_NUMBER(imageBitsPerChannel, tiffio::widths);
ZOR_MODULE_NUMBER(imageNumberOfMattes, tiffio::most_mattes);
ZOR_MODULE_NUMBER(imageBitsPerMatte, tiffio::widths);
ZOR_MODULE_NUMBER(imageAccess, ZOR_ACCESS_READ | ZOR_ACCESS_WRITE | ZOR_ACCESS_RANDOM_READ);
ZOR_MODULE_NUMBER(imageMultiFrame, 1);

unsigned char imageIsFile(void *file_name, void *stream) {
    return driver::is_file(file_name, stream, tiffio::has_signature);
}

void imageCapability(ZOR_CAPABILITY **list, int32_t *first, int32_t *second, int32_t *count) {
    tiffio::capabilities(list, first, second, count);
}

int imageReadOpen(ZOR_IMAGE *image) { return tiffio::read_open(image); }
int imageWriteOpen(ZOR_IMAGE *image) { return tiffio::write_open(image); }
