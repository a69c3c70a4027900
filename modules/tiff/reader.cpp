// reader.cpp - reading files: opening, scanlines, closing.
#include "reader.h"

#include <cstring>

#include <zor/fmt.h>

#include "colour.h"
#include "open.h"
#include "rows.h"
#include "shared/driver_support.h"
#include "texts.h"

namespace tiffio {

namespace {

void release(Reader *reader) {
    close(reader->codec);
    if (reader->codec.file != nullptr)
        zor__close_file(reader->codec.image, reader->codec.file);
    release(&reader->view);
    ERR_free(reader->pages.offsets);
    ERR_free(reader);
}

int close_reader(ZOR_IMAGE *image) {
    release(static_cast<Reader *>(image->data[0]));
    zor__free_obj(image);
    return 0;
}

int read_scanline(void *state, int y, void **rows) {
    auto &reader = *static_cast<Reader *>(state);
    View &view = reader.view;
    Codec &codec = reader.codec;
    const int32_t line = driver::line_index(y, 0, view.page.height, view.page.rising);
    if (line < 0)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    if (reader.lost || !fetch(codec, view.page, &view.blocks, line))
        return driver::fail_read(*codec.image, codec.trouble, y);
    unpack_line(view.page, view.blocks, line, view.rows);
    *rows = view.rows;
    return 0;
}

// Scan calls find their line by themselves; only lines that do not exist are refused here.
int seek_scanline(void *state, int y) {
    const auto &reader = *static_cast<Reader *>(state);
    if (y < -1 || y >= reader.view.page.height)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    return 0;
}

bool check_signature(const Codec &codec) {
    const bool recognised = has_signature(codec.file);
    const bool failed = std::ferror(codec.file) != 0;
    std::rewind(codec.file); // libtiff begins where the file stands
    const char *name = codec.image->file_name;
    if (failed)
        return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_OPEN, name, "the file cannot be read") == 0;
    return recognised ||
           zor__fail(ZOR_E_NOT_THIS_TYPE, ZOR_MSG_CANNOT_OPEN, name, "not a TIFF file") == 0;
}

const char *compression_name(TIFF *tiff) {
    uint16_t scheme = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &scheme);
    const TIFFCodec *codec = TIFFFindCODEC(scheme);
    return codec != nullptr ? codec->name : "unknown";
}

bool start(Reader &reader) {
    Codec &codec = reader.codec;
    ZOR_IMAGE *image = codec.image;
    codec.file = zor__open_file(image);
    if (codec.file == nullptr)
        return false;
    // Pages may stand anywhere in a file.
    codec.size = driver::file_size(codec.file);
    if (ftello(codec.file) < 0 || codec.file == stdin)
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_OPEN, image->file_name,
                         "it has to be a file on disk") == 0;
    if (!check_signature(codec))
        return false;
    reader.default_gamma = FMT_def_input_gamma();
    // The schemes in use make data at most 1400 times as large.
    codec.allowance = driver::memory_limit(codec.size, 1400);
    if (!open_reader(codec))
        return driver::fail_open(*image, codec.trouble) == 0;
    if (list_directories(codec, &reader.pages) != 0 || zor__build_handle(image, 1) != 0 ||
        show_page(reader, 0) != 0)
        return false;
    // What is said of the file as a whole is what its first page says.
    read_primaries(codec);
    return read_texts(codec) &&
           driver::replace_text(&image->compression, compression_name(codec.tiff));
}

} // namespace

// Classic files and large ones, of either byte order.
bool has_signature(FILE *file) {
    char bytes[4];
    if (std::fread(bytes, 1, sizeof bytes, file) != sizeof bytes)
        return false;
    for (const char *signature : {"II*\0", "MM\0*", "II+\0", "MM\0+"})
        if (std::memcmp(bytes, signature, sizeof bytes) == 0)
            return true;
    return false;
}

int read_open(ZOR_IMAGE *image) {
    auto *reader = driver::make<Reader>();
    if (reader == nullptr)
        return 0;
    reader->codec.image = image;
    if (!start(*reader)) {
        release(reader);
        return 0;
    }
    image->data[0] = reader;
    image->num_frames = reader->pages.count;
    image->scan = read_scanline;
    image->close = close_reader;
    image->seek = seek_scanline;
    offer_frames(image);
    offer_playback(image);
    return 1;
}

} // namespace tiffio
