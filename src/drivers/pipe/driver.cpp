// driver.cpp - the driver "pipe": a line of text that describes the image, then its samples.
//
// Every scanline is flushed, so that the reader has it when the scan call returns. A reader that
// goes away shows as an error of the next scan call where the application ignores SIGPIPE; signals
// are the application's, so nothing is done about them here.
#include "drivers/pipe/driver.h"

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/base/owned.h"
#include "core/channels.h"
#include "core/description.h"
#include "core/file.h"
#include "err/status.h"

namespace zor::pipe {

namespace {

static_assert(std::endian::native == std::endian::little, "samples go out as they are in memory");

// The content of the data slot.
struct Writer {
    char header[160];    // the line of text; empty once it is written
    ZOR_IMAGE_DESC desc; // as it was at open, for operators change the handle's; texts not owned
    int32_t next;        // scanline expected next
    int error;           // errno of the first failure: the stream has a gap from there on
};

void send(Writer *writer, const void *data, size_t size, size_t count) {
    errno = 0;
    if (writer->error == 0 && std::fwrite(data, size, count, stdout) != count)
        writer->error = errno != 0 ? errno : EIO;
}

void flush(Writer *writer) {
    errno = 0;
    if (std::fflush(stdout) != 0 && writer->error == 0)
        writer->error = errno != 0 ? errno : EIO;
}

// Type and width of a group mean nothing when it is empty.
ZOR_CHANNELS or_zeros(const ZOR_CHANNELS &group) {
    return group.count > 0 ? group : ZOR_CHANNELS();
}

void format_header(Writer *writer) {
    const ZOR_IMAGE_DESC &desc = writer->desc;
    const ZOR_CHANNELS image = or_zeros(desc.image);
    const ZOR_CHANNELS matte = or_zeros(desc.matte);
    const ZOR_CHANNELS aux = or_zeros(desc.aux);
    std::snprintf(writer->header, sizeof writer->header,
                  "ZORPIPE 1 %d %d %d %d %d %d %d %d %d %d %d\n", active_width(desc),
                  desc.act_top - desc.act_bottom + 1, image.count, matte.count, aux.count,
                  image.type, image.bits, matte.type, matte.bits, aux.type, aux.bits);
}

void send_samples(Writer *writer, void **rows) {
    const ZOR_IMAGE_DESC &desc = writer->desc;
    const auto left = static_cast<size_t>(desc.act_left - desc.win_left);
    const auto active = static_cast<size_t>(active_width(desc));
    for_each_channel(desc, [&](int32_t channel, size_t size) {
        send(writer, static_cast<const char *>(rows[channel]) + left * size, size, active);
    });
}

int write_scanline(void *state, int y, void **rows) {
    auto *writer = static_cast<Writer *>(state);
    const ZOR_IMAGE_DESC &desc = writer->desc;
    if (y != writer->next || y > desc.win_top)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    send(writer, writer->header, 1, std::strlen(writer->header));
    writer->header[0] = '\0';
    if (y >= desc.act_bottom && y <= desc.act_top)
        send_samples(writer, rows);
    flush(writer);
    if (writer->error != 0)
        return zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE_LINE, y, std::strerror(writer->error));
    ++writer->next;
    return 0;
}

// The standard output stays open: it is not the driver's.
int close_writer(ZOR_IMAGE *image) {
    auto *writer = static_cast<Writer *>(image->data[0]);
    flush(writer);
    give_stream_back(stdout);
    const int32_t status = writer->error == 0
                               ? 0
                               : zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, image->file_name,
                                           std::strerror(writer->error));
    ERR_free(writer);
    zor__free_obj(image);
    return status;
}

} // namespace

int open_reader(ZOR_IMAGE *) { return 1; }

int open_writer(ZOR_IMAGE *image) {
    if (image->num_images != 1) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MULTIPLE_IMAGES, image->key);
        return 0;
    }
    auto *writer = allocate<Writer>();
    if (writer == nullptr) {
        set_status(ZOR_E_MEMORY);
        return 0;
    }
    image->images[0].chan_flag = 1;
    settle_float_widths(&image->images[0]);
    *writer = {};
    writer->desc = image->images[0];
    writer->next = image->images[0].win_bottom;
    format_header(writer);
    take_stream(stdout);
    image->data[0] = writer;
    image->scan = write_scanline;
    image->close = close_writer;
    return 1;
}

} // namespace zor::pipe
