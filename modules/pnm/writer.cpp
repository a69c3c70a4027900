// writer.cpp - writing files: choosing the kind, scanlines, closing.
#include <cerrno>

#include "format.h"
#include "rows.h"
#include "shared/driver_support.h"

namespace pnm {

namespace {

// The state of a write handle.
struct Writer {
    ZOR_IMAGE *image;
    FILE *file;
    Header header;
    int32_t bottom;     // of the window
    int32_t matte_bits; // of the mattes handed in
    uint8_t *bytes;     // a row as it is in the file
    int32_t next;       // the row that has its turn, counted in file order
    int error;          // errno of the first write that failed; 0 while all is well
};

// Whether a kind can hold an image, as far as the format's limits have not settled it already.
bool holds(char kind, const ZOR_CHANNELS &image, bool matte) {
    const bool grey = image.count == 1;
    const bool colour = image.count == 3;
    switch (kind) {
    case '4':
        return image.type == ZOR_C_INTEGER && grey && image.bits == 1 && !matte;
    case '5':
        return image.type == ZOR_C_INTEGER && grey && !matte;
    case '6':
        return image.type == ZOR_C_INTEGER && colour && !matte;
    case '7':
        return image.type == ZOR_C_INTEGER && (grey || colour);
    case 'f':
        return image.type == ZOR_C_FLOAT && grey && !matte;
    default:
        return image.type == ZOR_C_FLOAT && colour && !matte;
    }
}

char choose_kind(const Format &format, const ZOR_CHANNELS &image, bool matte) {
    for (const char *kind = format.writes; *kind != '\0'; ++kind)
        if (holds(*kind, image, matte))
            return *kind;
    return '\0';
}

// Fills in the header for an image. False, reported, when the format cannot hold it.
bool plan(const Format &format, const ZOR_IMAGE_DESC &desc, Header *header) {
    const bool matte = desc.matte.count > 0;
    if (choose_kind(format, desc.image, false) == '\0')
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_TYPE, format.key) == 0;
    header->kind = choose_kind(format, desc.image, matte);
    if (header->kind == '\0' || (matte && desc.matte.type != ZOR_C_INTEGER))
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_TYPE, format.key) == 0;
    header->width = driver::window_width(desc);
    header->height = driver::window_height(desc);
    header->maxval = is_float(*header) ? 0 : (1 << desc.image.bits) - 1;
    header->little_endian = true;
    header->image = desc.image.count;
    header->matte = desc.matte.count;
    if (row_bytes(*header) > driver::largest_row)
        return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY) == 0;
    return true;
}

void release(Writer *writer) {
    ERR_free(writer->bytes);
    ERR_free(writer);
}

// Ends the file. Data may be held back until here, so a full disk may show only now.
int finish(Writer &writer) {
    ZOR_IMAGE *image = writer.image;
    errno = 0;
    const bool closed = zor__close_file(image, writer.file) == 0;
    if (!closed && writer.error == 0)
        writer.error = errno != 0 ? errno : EIO;
    if (writer.error != 0)
        return zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, image->file_name,
                         std::strerror(writer.error));
    if (writer.next != writer.header.height)
        return zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, image->file_name,
                         "not all scanlines were written");
    return 0;
}

int close_writer(ZOR_IMAGE *image) {
    auto *writer = static_cast<Writer *>(image->data[0]);
    const int result = finish(*writer);
    release(writer);
    zor__free_obj(image);
    return result;
}

int write_scanline(void *state, int y, void **rows) {
    auto &writer = *static_cast<Writer *>(state);
    const Header &header = writer.header;
    const int32_t index = driver::line_index(y, writer.bottom, header.height, is_rising(header));
    if (index < 0 || index != writer.next)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    pack_row(header, writer.matte_bits, rows, writer.bytes);
    const auto size = static_cast<size_t>(row_bytes(header));
    if (writer.error == 0 && std::fwrite(writer.bytes, 1, size, writer.file) != size)
        writer.error = errno;
    if (writer.error != 0)
        return zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE_LINE, y, std::strerror(writer.error));
    ++writer.next;
    return 0;
}

bool start(Writer &writer, const Format &format) {
    ZOR_IMAGE *image = writer.image;
    ZOR_IMAGE_DESC &desc = image->images[0];
    if (!plan(format, desc, &writer.header))
        return false;
    writer.bottom = desc.win_bottom;
    writer.matte_bits = desc.matte.bits;
    desc.orientation = is_rising(writer.header) ? ZOR_ORIENTATION_RISING : 0;
    writer.bytes = static_cast<uint8_t *>(driver::allocate(row_bytes(writer.header)));
    if (writer.bytes == nullptr || !driver::replace_text(&image->compression, "none"))
        return false;

    writer.file = zor__open_file(image);
    if (writer.file == nullptr)
        return false;
    if (write_header(writer.file, writer.header))
        return true;
    zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, image->file_name, std::strerror(errno));
    zor__close_file(image, writer.file);
    zor__remove_file(image);
    return false;
}

} // namespace

int write_open(const Format &format, ZOR_IMAGE *image) {
    auto *writer = driver::make<Writer>();
    if (writer == nullptr)
        return 0;
    writer->image = image;
    if (!start(*writer, format)) {
        release(writer);
        return 0;
    }
    image->data[0] = writer;
    image->scan = write_scanline;
    image->close = close_writer;
    return 1;
}

} // namespace pnm
