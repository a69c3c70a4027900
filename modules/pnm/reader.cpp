// reader.cpp - reading files: opening, scanlines, closing.
#include <cerrno>

#include "format.h"
#include "rows.h"
#include "shared/driver_support.h"

namespace pnm {

namespace {

// The state of a read handle.
struct Reader {
    ZOR_IMAGE *image;
    FILE *file;
    Header header;
    void **rows;    // handed out; they go with the handle
    uint8_t *bytes; // a row as it is in the file; null for text
    int64_t start;  // position of the first row; -1 when rows come in their order only
    int32_t next;   // row the stream stands at, counted in file order; -1 when that is unknown
};

void release(Reader *reader) {
    if (reader->file != nullptr)
        zor__close_file(reader->image, reader->file);
    ERR_free(reader->bytes);
    ERR_free(reader);
}

int close_reader(ZOR_IMAGE *image) {
    release(static_cast<Reader *>(image->data[0]));
    zor__free_obj(image);
    return 0;
}

int cannot_read(const Reader &reader, int y) {
    return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y,
                     std::ferror(reader.file) != 0 ? std::strerror(errno)
                                                   : "the file is too short");
}

// Reads and takes apart the row the stream stands at. A binary row with bad samples leaves the
// stream at the next one; after any other failure its place is unknown.
int read_row(Reader &reader, int y) {
    const int32_t index = reader.next;
    reader.next = -1;
    if (reader.bytes == nullptr) {
        const TextRow result = read_text_row(reader.file, reader.header, reader.rows);
        if (result == TextRow::ended)
            return cannot_read(reader, y);
        if (result == TextRow::damaged)
            return zor__fail(ZOR_E_DECODE, ZOR_MSG_CANNOT_DECODE, y);
        reader.next = index + 1;
        return 0;
    }
    const auto size = static_cast<size_t>(row_bytes(reader.header));
    if (std::fread(reader.bytes, 1, size, reader.file) != size)
        return cannot_read(reader, y);
    reader.next = index + 1;
    if (!unpack_row(reader.header, reader.bytes, reader.rows))
        return zor__fail(ZOR_E_DECODE, ZOR_MSG_CANNOT_DECODE, y);
    return 0;
}

int read_scanline(void *state, int y, void **rows) {
    auto &reader = *static_cast<Reader *>(state);
    const Header &header = reader.header;
    const int32_t index = driver::line_index(y, 0, header.height, is_rising(header));
    if (index < 0 || (index != reader.next && reader.start < 0))
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    if (index != reader.next) {
        const int64_t position = reader.start + index * row_bytes(header);
        if (fseeko(reader.file, static_cast<off_t>(position), SEEK_SET) != 0)
            return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, std::strerror(errno));
        reader.next = index;
    }
    const int result = read_row(reader, y);
    if (result == 0)
        *rows = reader.rows;
    return result;
}

// Scan calls find their row by themselves; only lines that do not exist are refused here.
int seek_scanline(void *state, int y) {
    const auto &reader = *static_cast<Reader *>(state);
    if (y < -1 || y >= reader.header.height)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    return 0;
}

// A damaged header can ask for any amount of memory. A row that the file holds takes at most nine
// times its bytes in the file (bitmaps), so the bound below refuses no sound file, and one cut off
// still opens unless its rows are huge.
bool is_plausible(const Header &header, int64_t file_size) {
    const int64_t sample = ZOR_sample_size(ZOR_C_INTEGER, sample_bits(header));
    const int64_t in_memory = depth(header) * (header.width * sample + 128);
    const int64_t in_file = is_text(header) ? 0 : row_bytes(header);
    const int64_t slack = int64_t{4} << 20;
    const bool known = file_size >= 0 && file_size < driver::largest_row / 64;
    return in_memory + in_file <= (known ? slack + 64 * file_size : driver::largest_row);
}

void describe(const Header &header, ZOR_IMAGE_DESC *desc) {
    const int32_t bits = sample_bits(header);
    zor__describe(desc, header.width, header.height, header.image, bits);
    const int32_t type = is_float(header) ? ZOR_C_FLOAT : ZOR_C_INTEGER;
    desc->image.type = type;
    if (header.matte > 0)
        desc->matte = {header.matte, type, bits};
    if (header.aux > 0)
        desc->aux = {header.aux, type, bits};
    if (is_rising(header))
        desc->orientation |= ZOR_ORIENTATION_RISING;
}

bool start(Reader &reader, const Format &format) {
    ZOR_IMAGE *image = reader.image;
    reader.file = zor__open_file(image);
    if (reader.file == nullptr)
        return false;
    Header &header = reader.header;
    const Verdict verdict = read_header(reader.file, format.reads, &header);
    if (verdict.status != 0)
        return zor__fail(verdict.status, ZOR_MSG_CANNOT_OPEN, image->file_name, verdict.reason) ==
               0;

    const int64_t size = driver::file_size(reader.file);
    if (!is_plausible(header, size))
        return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY) == 0;
    reader.start = size >= 0 && !is_text(header) ? int64_t{ftello(reader.file)} : -1;
    if (!is_text(header)) {
        reader.bytes = static_cast<uint8_t *>(driver::allocate(row_bytes(header)));
        if (reader.bytes == nullptr)
            return false;
    }
    if (zor__build_handle(image, 1) != 0)
        return false;
    describe(header, &image->images[0]);
    reader.rows = ZOR_chan_alloc(image, 0);
    return reader.rows != nullptr && driver::replace_text(&image->compression, "none");
}

} // namespace

int read_open(const Format &format, ZOR_IMAGE *image) {
    auto *reader = driver::make<Reader>();
    if (reader == nullptr)
        return 0;
    reader->image = image;
    if (!start(*reader, format)) {
        release(reader);
        return 0;
    }
    image->data[0] = reader;
    image->scan = read_scanline;
    image->close = close_reader;
    if (reader->start >= 0)
        image->seek = seek_scanline;
    return 1;
}

} // namespace pnm
