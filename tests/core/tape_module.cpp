// tape_module.cpp - a driver for tests: lines come strictly in file order, and each holds its own
// number. The file's name picks what it is like: "rising" for that order, "below" for lines from -5
// to 5, "refused" for a failing open. The module is built a second time as
// "reel", whose files hold frames.
#include <cstring>
#include <deque>

#include "core/tape.h"

#ifndef TAPE_KEY
#    define TAPE_KEY "tape"
#    define TAPE_FRAMES 0
#endif

ZOR_MODULE(TAPE_KEY, "." TAPE_KEY, "Tape", 0);
ZOR_MODULE_NUMBER(imageMultiFrame, TAPE_FRAMES);
ZOR_MODULE_NUMBER(imageNumberOfMattes, 1);
ZOR_MODULE_NUMBER(imageBitsPerMatte, 1);
ZOR_MODULE_EXPORT TapeState tape_state;
TapeState tape_state = {0, 0, never, 0, 1, nullptr};
ZOR_MODULE_EXPORT ZOR_CAP_ENTRY tape_entries[4];
ZOR_CAP_ENTRY tape_entries[4] = {
    {4, 0, "none", 0, 0, nullptr}, {7, 0, nullptr, 1, 2, "some"}, {9, 0, "all", 0, 0, nullptr}, {}};
ZOR_CAP_LIST tape_list = {7, 0, 0, tape_entries};
ZOR_MODULE_EXPORT ZOR_CAPABILITY tape_capabilities[2];
ZOR_CAPABILITY tape_capabilities[2] = {{0, "press", 1, 1, "squeeze", 0, {}, &tape_list, 0},
                                       {1, "quality", 0, 0, nullptr, 1, {}, nullptr, 4}};

namespace {

struct Tape {
    void **rows;
    int32_t next;
    int32_t step;
};
std::deque<Tape> tapes; // of all images so far

bool is_named(const ZOR_IMAGE *image, const char *word) {
    return std::strstr(image->open_name, word) != nullptr;
}

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
    zor__free_obj(image);
    return 0;
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
    image->num_frames = TAPE_FRAMES;
    return imageWriteOpen(image);
}

int imageWriteOpen(ZOR_IMAGE *image) {
    const ZOR_IMAGE_DESC &desc = image->images[0];
    const bool rising = desc.orientation == ZOR_ORIENTATION_RISING;
    void **rows = ZOR_chan_alloc(image, 0);
    if (rows == nullptr)
        return 0;
    tapes.push_back({rows, rising ? desc.win_bottom : desc.win_top, rising ? 1 : -1});
    image->data[0] = &tapes.back();
    image->scan = transfer;
    image->close = close_tape;
    if (tape_state.mischief != nullptr)
        tape_state.mischief(*image, image->images[0]);
    return tape_state.answer;
}

void imageCapability(ZOR_CAPABILITY **list, int32_t *first, int32_t *second, int32_t *count) {
    *list = tape_capabilities;
    *first = 3;
    *second = -2;
    *count = 2;
}

unsigned char imageCapsAvailUpdate(ZOR_WORD x, ZOR_WORD y) {
    return ZOR_set_available(&tape_capabilities[x], static_cast<unsigned char>(y));
}
