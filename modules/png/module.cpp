// module.cpp - the symbols of the module.
#include <png.h>

#include "open.h"
#include "shared/driver_support.h"

ZOR_MODULE("png", ".png", "PNG", 0); // falling: the top row comes first
ZOR_MODULE_TEXT(imageDescription,
                "Portable network graphics: grey and colour, matte, 1 to 16 bits");
ZOR_MODULE_NUMBER(imageBitsPerChannel, 0xFFFF);
ZOR_MODULE_NUMBER(imageNumberOfMattes, 1);
ZOR_MODULE_NUMBER(imageBitsPerMatte, 0xFFFF);

unsigned char imageIsFile(void *file_name, void *stream) {
    return driver::is_file(file_name, stream, [](FILE *file) {
        png_byte signature[8];
        return std::fread(signature, 1, sizeof signature, file) == sizeof signature &&
               png_sig_cmp(signature, 0, sizeof signature) == 0;
    });
}

int imageReadOpen(ZOR_IMAGE *image) { return pngio::read_open(image); }
int imageWriteOpen(ZOR_IMAGE *image) { return pngio::write_open(image); }
