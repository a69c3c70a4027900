// writer.cpp - writing files: opening, scanlines, pages, closing.
#include "codec.h"
#include "colour.h"
#include "open.h"
#include "options.h"
#include "rows.h"
#include "shared/samples.h"
#include "texts.h"

using driver::Cause;

namespace tiffio {

namespace {

// The state of a write handle.
struct Writer {
    Codec codec;
    Options options;
    Packing packing;
    int32_t bottom, height; // of the window
    int32_t page;           // being written, counted from 0
    int32_t next;           // the line that has its turn, counted from the top
    uint8_t *bytes;         // a line as libtiff takes it
};

void release(Writer *writer) {
    close(writer->codec);
    ERR_free(writer->bytes);
    ERR_free(writer);
}

// Fails for channels that a file cannot hold, as far as the format's limits have not settled it.
bool plan(Writer &writer) {
    const ZOR_IMAGE *image = writer.codec.image;
    const ZOR_IMAGE_DESC &desc = image->images[0];
    if (desc.image.count != 1 && desc.image.count != 3)
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_TYPE, image->key) == 0;
    if (desc.matte.count > 0 && desc.matte.type != desc.image.type)
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_TYPE, image->key) == 0;
    Packing &packing = writer.packing;
    packing = {driver::window_width(desc), desc.image, desc.matte, 0};
    if (desc.image.type == ZOR_C_INTEGER)
        packing.bits = driver::file_width(desc.image.bits, desc.image.count + desc.matte.count);
    else
        packing.bits = desc.image.type == ZOR_C_FLOAT ? 32 : 64;
    writer.bottom = desc.win_bottom;
    writer.height = driver::window_height(desc);
    if (line_bytes(packing) > driver::largest_row)
        return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY) == 0;
    return choose(image, &writer.options) == 0;
}

// Strips of a moderate size: readers hold one at a time.
uint32_t lines_per_strip(const Writer &writer) {
    constexpr int64_t strip_bytes = 128 << 10;
    const int64_t lines = std::max<int64_t>(1, strip_bytes / line_bytes(writer.packing));
    return static_cast<uint32_t>(std::min<int64_t>(lines, writer.height));
}

// Positions of 32 bits do for 4 GiB. The schemes make a picture without any regularity up to half
// as large again.
bool needs_long_positions(const Writer &writer) {
    const double pages = std::max(1, writer.codec.image->frame_count);
    const double page = static_cast<double>(line_bytes(writer.packing)) * writer.height + 65536.0;
    return pages * page * 1.5 > 4e9;
}

bool write_layout(const Writer &writer) {
    TIFF *tiff = writer.codec.tiff;
    const Packing &packing = writer.packing;
    const bool integers = packing.image.type == ZOR_C_INTEGER;
    return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(packing.width)) != 0 &&
           TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(writer.height)) != 0 &&
           TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, packing.bits) != 0 &&
           TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, packing.image.count + packing.matte.count) !=
               0 &&
           TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT,
                        integers ? SAMPLEFORMAT_UINT : SAMPLEFORMAT_IEEEFP) != 0 &&
           TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                        packing.image.count == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK) != 0 &&
           TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) != 0 &&
           TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) != 0 &&
           TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, lines_per_strip(writer)) != 0;
}

// Neighbouring samples are alike: their differences compress better than they do.
bool write_compression(const Writer &writer) {
    TIFF *tiff = writer.codec.tiff;
    const uint16_t scheme = writer.options.compression;
    const bool integers = writer.packing.image.type == ZOR_C_INTEGER;
    const int predictor = integers ? PREDICTOR_HORIZONTAL : PREDICTOR_FLOATINGPOINT;
    return TIFFSetField(tiff, TIFFTAG_COMPRESSION, scheme) != 0 &&
           ((scheme != COMPRESSION_LZW && scheme != COMPRESSION_ADOBE_DEFLATE) ||
            writer.packing.bits < 8 || TIFFSetField(tiff, TIFFTAG_PREDICTOR, predictor) != 0);
}

bool write_mattes(Writer &writer) {
    const auto count = static_cast<uint16_t>(writer.packing.matte.count);
    if (count == 0)
        return true;
    auto *kinds = static_cast<uint16_t *>(driver::allocate(count * int64_t{sizeof(uint16_t)}));
    if (kinds == nullptr)
        return driver::refuse(writer.codec.trouble, Cause::memory, "");
    std::fill_n(kinds, count, writer.options.alpha);
    const bool written = TIFFSetField(writer.codec.tiff, TIFFTAG_EXTRASAMPLES, count, kinds) != 0;
    ERR_free(kinds);
    return written;
}

// Says which page of how many it is; 0 for a number that is not known.
bool write_page_number(const Writer &writer) {
    const int32_t pages = writer.codec.image->frame_count;
    if ((pages <= 1 && writer.page == 0) || writer.page > UINT16_MAX)
        return true;
    const int32_t known = pages > writer.page && pages <= UINT16_MAX ? pages : 0;
    return TIFFSetField(writer.codec.tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE) != 0 &&
           TIFFSetField(writer.codec.tiff, TIFFTAG_PAGENUMBER, writer.page, known) != 0;
}

// Begins a page; libtiff keeps all this until the page is complete.
bool begin_page(Writer &writer) {
    Codec &codec = writer.codec;
    writer.next = 0;
    return run(codec, [&] {
        return write_layout(writer) && write_compression(writer) && write_mattes(writer) &&
               write_page_number(writer) && write_gamma(codec, writer.packing.bits) &&
               write_primaries(codec) && write_pixel_aspect(codec) && write_texts(codec);
    });
}

bool is_complete(const Writer &writer) { return writer.next == writer.height; }

// Ends a page whose lines are all written.
bool end_page(Writer &writer) {
    Codec &codec = writer.codec;
    return codec.trouble.cause == Cause::none &&
           run(codec, [&] { return TIFFWriteDirectory(codec.tiff) != 0; });
}

int write_scanline(void *state, int y, void **rows) {
    auto &writer = *static_cast<Writer *>(state);
    Codec &codec = writer.codec;
    const int32_t line = driver::line_index(y, writer.bottom, writer.height, false);
    if (line < 0 || line != writer.next)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    if (codec.trouble.cause == Cause::none) {
        pack_line(writer.packing, rows, writer.bytes);
        if (run(codec, [&] {
                return TIFFWriteScanline(codec.tiff, writer.bytes, static_cast<uint32_t>(line),
                                         0) == 1;
            })) {
            ++writer.next;
            return 0;
        }
    }
    return driver::fail_write(codec.trouble, y);
}

int64_t current_frame(const Writer &writer) {
    return int64_t{writer.codec.image->first_frame} + writer.page;
}

int get_frame(void *state, ZOR_WORD frame) {
    const auto &writer = *static_cast<Writer *>(state);
    *driver::pointer_in<int32_t>(frame) = static_cast<int32_t>(current_frame(writer));
    return 0;
}

// Frames are written one after another, each when the one before has all its lines.
int set_frame(void *state, ZOR_WORD frame) {
    auto &writer = *static_cast<Writer *>(state);
    Codec &codec = writer.codec;
    ZOR_IMAGE *image = codec.image;
    const int64_t current = current_frame(writer);
    if (frame == current)
        return 0;
    if (frame != current + 1 || !is_complete(writer)) {
        ERR_printf(ERR_ERROR, "%s: frame %lld cannot be written %s", image->file_name,
                   static_cast<long long>(frame),
                   frame != current + 1 ? "out of order" : "before the one in front is complete");
        return driver::set_status(ZOR_E_ARGUMENT);
    }
    if (!end_page(writer))
        return zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, image->file_name,
                         driver::reason(codec.trouble));
    ++writer.page;
    ++image->num_frames;
    if (begin_page(writer))
        return 0;
    const int status = driver::fail_open(*image, codec.trouble);
    abandon(codec);
    return status;
}

// Ends the file. A page that lacks lines is left out, so that nobody takes it for a whole one: the
// file then ends with the page before, and without any it is not a picture.
int finish(Writer &writer) {
    Codec &codec = writer.codec;
    const bool complete = is_complete(writer);
    if (complete)
        (void)end_page(writer); // finish_file reports
    close(codec);
    return driver::finish_file(codec.image, codec.file, codec.trouble, complete);
}

int close_writer(ZOR_IMAGE *image) {
    auto *writer = static_cast<Writer *>(image->data[0]);
    const int result = finish(*writer);
    release(writer);
    zor__free_obj(image);
    return result;
}

// Positions that are known only later are filled in then.
bool check_positions(const Codec &codec) {
    if (fseeko(codec.file, 0, SEEK_CUR) == 0)
        return true;
    return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_WRITE, codec.image->file_name,
                     "it has to be a file on disk") == 0;
}

bool start(Writer &writer) {
    Codec &codec = writer.codec;
    ZOR_IMAGE *image = codec.image;
    if (!plan(writer))
        return false;
    image->images[0].orientation = 0;
    const int64_t room = std::max<int64_t>(line_bytes(writer.packing), writer.packing.width);
    writer.bytes = static_cast<uint8_t *>(driver::allocate(room));
    if (writer.bytes == nullptr ||
        !driver::replace_text(&image->compression, writer.options.compression_name))
        return false;
    codec.file = zor__open_file(image);
    if (codec.file == nullptr)
        return false;
    bool started = check_positions(codec);
    if (started && (!open_writer(codec, needs_long_positions(writer)) || !begin_page(writer))) {
        driver::fail_open(*image, codec.trouble);
        started = false;
    }
    if (started)
        return true;
    abandon(codec);
    zor__close_file(image, codec.file);
    zor__remove_file(image);
    return false;
}

} // namespace

int write_open(ZOR_IMAGE *image) {
    auto *writer = driver::make<Writer>();
    if (writer == nullptr)
        return 0;
    writer->codec.image = image;
    if (!start(*writer)) {
        release(writer);
        return 0;
    }
    image->data[0] = writer;
    image->num_frames = 1;
    image->scan = write_scanline;
    image->close = close_writer;
    image->get_frame = get_frame;
    image->set_frame = set_frame;
    return 1;
}

} // namespace tiffio
