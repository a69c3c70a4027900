// tape_module.cpp - a driver for tests: lines come strictly in file order, and each holds its own
// number. The file's name picks what it is like: "rising" for that order, "below" for lines from -5
// to 5, "refused" for a failing open, "huge" and "empty" for windows that cannot be.
#include <cstring>

#include <zor/driver.h>

#include "tape.h"

ZOR_MODULE("tape", ".tape", "Tape", 0);
ZOR_MODULE_NUMBER(imageNumberOfMattes, 1);
ZOR_MODULE_NUMBER(imageBitsPerMatte, 1);
ZOR_MODULE_EXPORT TapeState tape_state;
TapeState tape_state = {0, {0}, never, 0};

namespace {

struct Tape {
    void **rows;
    int32_t next;
    int32_t step;
};

int transfer(void *state, int y, void **rows) {
    auto *tape = static_cast<Tape *>(state);
    if (y != tape->next)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    if (y == tape_state.fail_at)
        return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, "torn");
    tape->next += tape->step;
    ++tape_state.lines;
    std::memset(tape->rows[0], y, tape_width);
    *rows = tape->rows;
    return 0;
}

int close_tape(ZOR_IMAGE *image) {
    ++tape_state.closes;
    delete static_cast<Tape *>(image->data[0]);
    zor__free_obj(image);
    return 0;
}

bool is_named(const ZOR_IMAGE *image, const char *word) {
    return std::strstr(image->open_name, word) != nullptr;
}

} // namespace

int imageReadOpen(ZOR_IMAGE *image) {
    ++tape_state.opens;
    if (is_named(image, "refused") || zor__build_handle(image, 1) != 0)
        return 0;
    ZOR_IMAGE_DESC *desc = &image->images[0];
    zor__describe(desc, tape_width, tape_top - tape_bottom + 1, 1, 8);
    desc->win_bottom = desc->act_bottom = is_named(image, "below") ? -5 : tape_bottom;
    desc->win_top = desc->act_top = is_named(image, "below") ? 5 : tape_top;
    desc->orientation = is_named(image, "rising") ? ZOR_ORIENTATION_RISING : 0;
    imageWriteOpen(image);
    if (is_named(image, "huge"))
        desc->win_top = INT32_MAX;
    if (is_named(image, "empty"))
        desc->win_right = -1;
    return 1;
}

int imageWriteOpen(ZOR_IMAGE *image) {
    const ZOR_IMAGE_DESC &desc = image->images[0];
    const bool rising = desc.orientation == ZOR_ORIENTATION_RISING;
    image->data[0] = new Tape{ZOR_chan_alloc(image, 0), rising ? desc.win_bottom : desc.win_top,
                              rising ? 1 : -1};
    image->scan = transfer;
    image->close = close_tape;
    return 1;
}
