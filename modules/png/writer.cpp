// writer.cpp - writing files: opening, scanlines, closing.
#include <algorithm>
#include <bit>

#include "codec.h"
#include "colour.h"
#include "open.h"
#include "rows.h"
#include "shared/samples.h"
#include "texts.h"

using driver::Cause;

namespace pngio {

namespace {

// The state of a write handle.
struct Writer {
    Codec codec;
    Packing packing;
    int32_t bottom, height; // of the window
    uint8_t *bytes;         // a row as libpng takes it
    int32_t next;           // the row that has its turn, counted from the top
};

size_t row_bytes(const Packing &packing) {
    return static_cast<size_t>(packing.width) *
           static_cast<size_t>(packing.colours + packing.mattes) * (packing.depth > 8 ? 2 : 1);
}

void release(Writer *writer) {
    destroy_writer(writer->codec);
    ERR_free(writer->bytes);
    ERR_free(writer);
}

// Fails for channels that a file cannot hold, as far as the format's limits have not settled it.
bool plan(Writer &writer) {
    const ZOR_IMAGE *image = writer.codec.image;
    const ZOR_IMAGE_DESC &desc = image->images[0];
    if ((desc.image.count != 1 && desc.image.count != 3) || desc.image.type != ZOR_C_INTEGER)
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_TYPE, image->key) == 0;
    if (desc.matte.count > 0 && desc.matte.type != ZOR_C_INTEGER)
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_TYPE, image->key) == 0;
    Packing &packing = writer.packing;
    packing = {driver::window_width(desc),
               desc.image.count,
               desc.matte.count,
               desc.image.bits,
               desc.matte.bits,
               0};
    packing.depth = driver::file_width(packing.colour_bits, packing.colours + packing.mattes);
    writer.bottom = desc.win_bottom;
    writer.height = driver::window_height(desc);
    const double size = static_cast<double>(packing.width) * (packing.colours + packing.mattes) * 2;
    if (size > static_cast<double>(driver::largest_row))
        return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY) == 0;
    return true;
}

// Notes the width that samples had before they were widened. To be run guarded.
void write_significant_bits(const Writer &writer) {
    const Packing &packing = writer.packing;
    const auto colour = static_cast<png_byte>(packing.colour_bits);
    const auto matte = static_cast<png_byte>(std::min(packing.matte_bits, packing.depth));
    if (colour == packing.depth && (packing.mattes == 0 || matte == packing.depth))
        return;
    const png_color_8 bits = {colour, colour, colour, colour, matte};
    png_set_sBIT(writer.codec.png, writer.codec.info, &bits);
}

// Writes all that stands before the pixels.
bool write_head(Writer &writer) {
    Codec &codec = writer.codec;
    const Packing &packing = writer.packing;
    return guarded(codec, [&] {
        const int type = (packing.colours == 3 ? PNG_COLOR_MASK_COLOR : 0) |
                         (packing.mattes > 0 ? PNG_COLOR_MASK_ALPHA : 0);
        png_set_user_limits(codec.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_IHDR(codec.png, codec.info, static_cast<png_uint_32>(packing.width),
                     static_cast<png_uint_32>(writer.height), packing.depth, type,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
        write_significant_bits(writer);
        write_colour(codec, codec.image->images[0]);
        write_texts(codec);
        png_write_info(codec.png, codec.info);
        png_set_packing(codec.png);
        if (std::endian::native == std::endian::little)
            png_set_swap(codec.png);
    });
}

int write_scanline(void *state, int y, void **rows) {
    auto &writer = *static_cast<Writer *>(state);
    Codec &codec = writer.codec;
    const int32_t index = driver::line_index(y, writer.bottom, writer.height, false);
    if (index < 0 || index != writer.next)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    if (codec.trouble.cause == Cause::none) {
        pack_row(writer.packing, rows, writer.bytes);
        if (guarded(codec, [&] { png_write_row(codec.png, writer.bytes); })) {
            ++writer.next;
            return 0;
        }
    }
    return driver::fail_write(codec.trouble, y);
}

// Ends the file. One that lacks rows is left without its end mark, so that nobody takes it for a
// whole one.
int finish(Writer &writer) {
    Codec &codec = writer.codec;
    const bool complete = writer.next == writer.height;
    if (complete && codec.trouble.cause == Cause::none &&
        !guarded(codec, [&] { png_write_end(codec.png, nullptr); }) &&
        codec.trouble.cause == Cause::none)
        codec.trouble.cause = Cause::data;
    return driver::finish_file(codec.image, codec.file, codec.trouble, complete);
}

int close_writer(ZOR_IMAGE *image) {
    auto *writer = static_cast<Writer *>(image->data[0]);
    const int result = finish(*writer);
    release(writer);
    zor__free_obj(image);
    return result;
}

bool start(Writer &writer) {
    Codec &codec = writer.codec;
    ZOR_IMAGE *image = codec.image;
    if (!plan(writer))
        return false;
    codec.largest_block = SIZE_MAX;
    image->images[0].orientation = 0;
    writer.bytes =
        static_cast<uint8_t *>(driver::allocate(static_cast<int64_t>(row_bytes(writer.packing))));
    if (writer.bytes == nullptr || !driver::replace_text(&image->compression, "deflate") ||
        !create_writer(codec))
        return false;

    codec.file = zor__open_file(image);
    if (codec.file == nullptr)
        return false;
    if (write_head(writer))
        return true;
    driver::fail_open(*codec.image, codec.trouble);
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
    image->scan = write_scanline;
    image->close = close_writer;
    return 1;
}

} // namespace pngio
