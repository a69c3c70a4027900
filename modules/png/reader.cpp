// reader.cpp - reading files: opening, scanlines, closing.
#include <bit>

#include "codec.h"
#include "colour.h"
#include "open.h"
#include "rows.h"
#include "shared/driver_support.h"
#include "texts.h"

namespace pngio {

namespace {

// The state of a read handle. Plain files are decoded row by row. The passes of an interlaced file
// each hold a part of every row, so such a picture is decoded as a whole when its first row is
// wanted, and then has its rows in any order.
struct Reader {
    Codec codec;
    int32_t width, height;
    int32_t channels; // as handed out, as are bits: palettes resolved, transparency in a matte
    int32_t bits;
    bool interlaced;
    void **rows;    // handed out; they go with the handle
    uint8_t *bytes; // a row, or all rows of an interlaced picture
    int32_t next;   // row that has its turn, counted from the top; -1 after a failure
    bool damaged;   // an interlaced picture that could not be decoded
};

size_t row_bytes(const Reader &reader) {
    return static_cast<size_t>(reader.width) * static_cast<size_t>(reader.channels) *
           (reader.bits > 8 ? 2 : 1);
}

void release(Reader *reader) {
    destroy_reader(reader->codec);
    if (reader->codec.file != nullptr)
        zor__close_file(reader->codec.image, reader->codec.file);
    ERR_free(reader->bytes);
    ERR_free(reader);
}

int close_reader(ZOR_IMAGE *image) {
    release(static_cast<Reader *>(image->data[0]));
    zor__free_obj(image);
    return 0;
}

int read_in_order(void *state, int y, void **rows) {
    auto &reader = *static_cast<Reader *>(state);
    const int32_t index = driver::line_index(y, 0, reader.height, false);
    if (index < 0 || index != reader.next)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    if (!guarded(reader.codec, [&] { png_read_row(reader.codec.png, reader.bytes, nullptr); })) {
        reader.next = -1;
        return driver::fail_read(*reader.codec.image, reader.codec.trouble, y);
    }
    ++reader.next;
    unpack_row(reader.bytes, reader.width, reader.channels, reader.bits, reader.rows);
    *rows = reader.rows;
    return 0;
}

// Decodes an interlaced picture; each pass adds to the rows of the passes before it.
bool decode(Reader &reader) {
    const size_t stride = row_bytes(reader);
    return guarded(reader.codec, [&] {
        for (int pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass)
            for (int32_t i = 0; i < reader.height; ++i)
                png_read_row(reader.codec.png, reader.bytes + static_cast<size_t>(i) * stride,
                             nullptr);
    });
}

int read_any(void *state, int y, void **rows) {
    auto &reader = *static_cast<Reader *>(state);
    const int32_t index = driver::line_index(y, 0, reader.height, false);
    if (index < 0)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    const size_t stride = row_bytes(reader);
    if (reader.bytes == nullptr) {
        const int64_t size = static_cast<int64_t>(stride) * reader.height;
        reader.bytes = static_cast<uint8_t *>(driver::allocate(size));
        if (reader.bytes == nullptr)
            return ZOR_E_MEMORY;
        reader.damaged = !decode(reader);
    }
    if (reader.damaged)
        return driver::fail_read(*reader.codec.image, reader.codec.trouble, y);
    unpack_row(reader.bytes + static_cast<size_t>(index) * stride, reader.width, reader.channels,
               reader.bits, reader.rows);
    *rows = reader.rows;
    return 0;
}

// Scan calls find their row by themselves; only lines that do not exist are refused here.
int seek_any(void *state, int y) {
    const auto &reader = *static_cast<Reader *>(state);
    if (y < -1 || y >= reader.height)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    return 0;
}

bool check_signature(Codec &codec) {
    png_byte signature[8];
    const size_t size = std::fread(signature, 1, sizeof signature, codec.file);
    const char *problem = std::ferror(codec.file) != 0 ? "the file cannot be read"
                          : size < sizeof signature || png_sig_cmp(signature, 0, size) != 0
                              ? "not a PNG file"
                              : nullptr;
    if (problem == nullptr)
        return true;
    const int32_t status = std::ferror(codec.file) != 0 ? ZOR_E_READ : ZOR_E_NOT_THIS_TYPE;
    return zor__fail(status, ZOR_MSG_CANNOT_OPEN, codec.image->file_name, problem) == 0;
}

// Reads what stands before the pixels. The chunks kept at a time are limited, since a small
// compressed text can be a large one.
bool read_head(Codec &codec) {
    return guarded(codec, [&] {
        png_set_user_limits(codec.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_chunk_malloc_max(codec.png, 1U << 20);
        png_set_chunk_cache_max(codec.png, 64);
        png_set_sig_bytes(codec.png, 8);
        png_read_info(codec.png, codec.info);
    });
}

// Works out what rows will look like: palettes give colours of 8 bits, transparent colours a matte
// and at least 8 bits.
void plan(Reader &reader) {
    const Codec &codec = reader.codec;
    const int type = png_get_color_type(codec.png, codec.info);
    const int depth = png_get_bit_depth(codec.png, codec.info);
    const bool transparency = png_get_valid(codec.png, codec.info, PNG_INFO_tRNS) != 0;
    const bool palette = type == PNG_COLOR_TYPE_PALETTE;
    const bool matte = transparency || (type & PNG_COLOR_MASK_ALPHA) != 0;
    reader.width = static_cast<int32_t>(png_get_image_width(codec.png, codec.info));
    reader.height = static_cast<int32_t>(png_get_image_height(codec.png, codec.info));
    reader.channels = ((type & PNG_COLOR_MASK_COLOR) != 0 ? 3 : 1) + (matte ? 1 : 0);
    reader.bits = palette || transparency ? (depth < 8 ? 8 : depth) : depth;
    reader.interlaced = png_get_interlace_type(codec.png, codec.info) != PNG_INTERLACE_NONE;
}

// Has libpng deliver rows as planned. False when it failed.
bool start_rows(Reader &reader) {
    Codec &codec = reader.codec;
    return guarded(codec, [&] {
        if (png_get_color_type(codec.png, codec.info) == PNG_COLOR_TYPE_PALETTE ||
            png_get_valid(codec.png, codec.info, PNG_INFO_tRNS) != 0)
            png_set_expand(codec.png);
        else
            png_set_packing(codec.png); // a byte for each sample; its value stays
        if (std::endian::native == std::endian::little)
            png_set_swap(codec.png);
        png_set_interlace_handling(codec.png);
        png_read_update_info(codec.png, codec.info);
        if (png_get_rowbytes(codec.png, codec.info) != row_bytes(reader))
            png_error(codec.png, "rows are not what the header announces");
    });
}

// A row is held four times, twice of it in libpng.
bool is_plausible(const Reader &reader) {
    const double row =
        static_cast<double>(reader.width) * reader.channels * (reader.bits > 8 ? 2 : 1);
    const double needed = row * (reader.interlaced ? 4.0 + reader.height : 4.0);
    return row <= static_cast<double>(driver::largest_row) &&
           needed <= static_cast<double>(reader.codec.largest_block);
}

bool describe(Reader &reader) {
    Codec &codec = reader.codec;
    ZOR_IMAGE *image = codec.image;
    if (zor__build_handle(image, 1) != 0)
        return false;
    ZOR_IMAGE_DESC *desc = &image->images[0];
    const bool matte = reader.channels % 2 == 0;
    zor__describe(desc, reader.width, reader.height, reader.channels - (matte ? 1 : 0),
                  reader.bits);
    if (matte)
        desc->matte = {1, ZOR_C_INTEGER, reader.bits};
    read_colour(codec, desc);
    reader.rows = ZOR_chan_alloc(image, 0);
    return reader.rows != nullptr && read_texts(codec) &&
           driver::replace_text(&image->compression, "deflate");
}

bool start(Reader &reader) {
    Codec &codec = reader.codec;
    codec.file = zor__open_file(codec.image);
    if (codec.file == nullptr || !check_signature(codec))
        return false;
    // Data that is compressed the way it is here never becomes more than 1032 times as large.
    codec.largest_block =
        static_cast<size_t>(driver::memory_limit(driver::file_size(codec.file), 1100));
    if (!create_reader(codec))
        return false;
    if (!read_head(codec))
        return driver::fail_open(*codec.image, codec.trouble) == 0;
    plan(reader);
    if (!is_plausible(reader))
        return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY) == 0;
    if (!start_rows(reader))
        return driver::fail_open(*codec.image, codec.trouble) == 0;
    if (!reader.interlaced) {
        reader.bytes =
            static_cast<uint8_t *>(driver::allocate(static_cast<int64_t>(row_bytes(reader))));
        if (reader.bytes == nullptr)
            return false;
    }
    return describe(reader);
}

} // namespace

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
    image->scan = reader->interlaced ? read_any : read_in_order;
    image->close = close_reader;
    if (reader->interlaced)
        image->seek = seek_any;
    return 1;
}

} // namespace pngio
