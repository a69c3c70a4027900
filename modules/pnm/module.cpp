// module.cpp - the symbols of one module. Compiled once for each format, PNM_FORMAT being its name.
#include "format.h"
#include "header.h"
#include "shared/driver_support.h"

namespace {
constexpr const pnm::Format &format = pnm::formats::PNM_FORMAT;
}

ZOR_MODULE(format.key, format.extension, format.name, format.orientation);
ZOR_MODULE_TEXT(imageDescription, format.description);
ZOR_MODULE_NUMBER(imageNumberOfChannels, format.num_channels);
ZOR_MODULE_NUMBER(imageBitsPerChannel, format.widths);
ZOR_MODULE_NUMBER(imageNumberOfMattes, format.num_mattes);
ZOR_MODULE_NUMBER(imageBitsPerMatte, format.matte_widths);

unsigned char imageIsFile(void *file_name, void *stream) {
    return driver::is_file(file_name, stream, [](FILE *file) {
        pnm::Header header;
        return pnm::read_header(file, format.reads, &header).status == 0;
    });
}

int imageReadOpen(ZOR_IMAGE *image) { return pnm::read_open(format, image); }
int imageWriteOpen(ZOR_IMAGE *image) { return pnm::write_open(format, image); }
