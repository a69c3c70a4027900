// rows_driver.cpp - the module of the driver "rows".
#include "rows_driver.h"

#include "samples.h"

ZOR_MODULE("rows", ".rows", "Rows", 0);
ZOR_MODULE_NUMBER(imageUsage, ZOR_USAGE_STILL | ZOR_USAGE_SUB_IMAGES);
ZOR_MODULE_NUMBER(imageNumberOfChannels, 100);
ZOR_MODULE_NUMBER(imageBitsPerChannel, -1);
ZOR_MODULE_NUMBER(imageNumberOfMattes, 100);
ZOR_MODULE_NUMBER(imageBitsPerMatte, -1);
ZOR_MODULE_NUMBER(imageNumberOfZChannels, 100);
ZOR_MODULE_NUMBER(imageBitsPerZChannel, -1);
ZOR_MODULE_NUMBER(imageSupportsActiveWindow, 1);
ZOR_MODULE_NUMBER(imageAccess, ZOR_ACCESS_READ | ZOR_ACCESS_WRITE | ZOR_ACCESS_RANDOM_READ);

namespace {

struct State {
    ZOR_IMAGE_DESC desc; // before operators
    std::vector<Row> rows;
    std::vector<void *> pointers;
};

int read_line(void *slot, int y, void **rows) {
    auto &state = *static_cast<State *>(slot);
    if (y == rows_driver::broken_line)
        return zor__fail(ZOR_E_READ, ZOR_MSG_BAD_SCANLINE, y);
    state.rows.clear();
    state.pointers.clear();
    for_each_row(state.desc, [&](int i, const ZOR_CHANNELS &group) {
        const size_t width = rows_driver::row_width(state.desc, i);
        state.rows.push_back(any_row(group, width, static_cast<uint32_t>(i * 77 + y * 1001)));
        state.pointers.push_back(state.rows.back().data());
    });
    state.pointers.push_back(nullptr);
    *reinterpret_cast<void ***>(rows) = state.pointers.data();
    return 0;
}

int write_line(void *slot, int y, void **rows) {
    const auto &state = *static_cast<State *>(slot);
    if (y == rows_driver::broken_line)
        return zor__fail(ZOR_E_WRITE, ZOR_MSG_BAD_SCANLINE, y);
    for_each_row(state.desc, [&](int i, const ZOR_CHANNELS &group) {
        const auto size = static_cast<size_t>(ZOR_sample_size(group.type, group.bits));
        Row copy(rows_driver::row_width(state.desc, i) * size);
        if (!copy.empty())
            std::memcpy(copy.data(), rows[i], copy.size());
    });
    return 0;
}

int close_image(ZOR_IMAGE *image) {
    for (int32_t i = 0; i < image->num_images; ++i)
        delete static_cast<State *>(image->data[i]);
    zor__free_obj(image);
    return 0;
}

int open_image(ZOR_IMAGE *image, ZOR_SCAN_FUNCTION scan) {
    for (int32_t i = 0; i < image->num_images; ++i)
        image->data[i] = new State{image->images[i], {}, {}};
    image->scan = scan;
    image->close = close_image;
    return 1;
}

} // namespace

size_t rows_driver::row_width(const ZOR_IMAGE_DESC &desc, int row) {
    if (desc.chan_flag != 0 || row >= desc.image.count)
        return width_of(desc);
    return row == 0 ? width_of(desc) * static_cast<size_t>(desc.image.count) : 0;
}

int imageReadOpen(ZOR_IMAGE *image) {
    const auto &pictures = rows_driver::pictures;
    if (zor__build_handle(image, static_cast<int32_t>(pictures.size())) != 0)
        return 0;
    for (size_t i = 0; i < pictures.size(); ++i) {
        image->images[i] = pictures[i];
        image->images[i].chan_format = STR_save(pictures[i].chan_format);
    }
    return open_image(image, read_line);
}

int imageWriteOpen(ZOR_IMAGE *image) { return open_image(image, write_line); }
