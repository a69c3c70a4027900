// tape_module.cpp - a driver for tests: lines come strictly in file order, and each holds its own
// number. The file's name picks what it is like: "rising" for that order, "random" or "seeks" for
// handles with such functions, "mute" for one without a scan function, "refused" for a failing open,
// "below" for lines from -5 to 5, "huge" and "empty" for windows that cannot be, "plays" for frames
// and playback. The module is built a second time as "reel", whose files hold frames: the lines of
// those named "any" come in any order.
#include <cstring>

#include <zor/driver.h>

#include "tape.h"

#ifndef TAPE_KEY
#    define TAPE_KEY "tape"
#    define TAPE_FRAMES 0
#endif

ZOR_MODULE(TAPE_KEY, "." TAPE_KEY, "Tape", 0);
ZOR_MODULE_NUMBER(imageMultiFrame, TAPE_FRAMES);
ZOR_MODULE_NUMBER(imageNumberOfMattes, 1);
ZOR_MODULE_NUMBER(imageBitsPerMatte, 1);
ZOR_MODULE_EXPORT TapeState tape_state;
TapeState tape_state = {0, {0}, never, 0, 0, 0, {}};
ZOR_MODULE_EXPORT ZOR_CAP_ENTRY tape_entries[4];
ZOR_CAP_ENTRY tape_entries[4] = {
    {4, 0, "none", 0, 0, nullptr}, {7, 0, nullptr, 1, 2, "some"}, {9, 0, "all", 0, 0, nullptr}, {}};
ZOR_CAP_LIST tape_list = {7, 0, 0, tape_entries};
ZOR_MODULE_EXPORT ZOR_CAPABILITY tape_capabilities[2];
ZOR_CAPABILITY tape_capabilities[2] = {{0, "press", 1, 1, "squeeze", 0, {}, &tape_list, 0},
                                       {1, "quality", 0, 0, nullptr, 1, {}, nullptr, 4}};

namespace {

struct Tape {
    ZOR_IMAGE *image;
    void **rows;
    int32_t next;
    int32_t step;
};

bool is_named(const ZOR_IMAGE *image, const char *word) {
    return std::strstr(image->open_name, word) != nullptr;
}

int transfer(void *state, int y, void **rows) {
    auto *tape = static_cast<Tape *>(state);
    if (y != tape->next && !is_named(tape->image, "any"))
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    if (y == tape_state.fail_at)
        return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, "torn");
    tape->next += tape->step;
    ++tape_state.lines;
    if (tape->image->mode == ZOR_MODE_WRITE) {
        tape_state.written[y] = *static_cast<uint8_t *>(rows[0]);
        return 0;
    }
    std::memset(tape->rows[0], y, tape_width);
    *rows = tape->rows;
    return 0;
}

// What playback was asked for, as a decimal number.
template<class... Words>
int play(void *, Words... words) {
    ZOR_WORD number = 0;
    ((number = number * 10 + words), ...);
    return static_cast<int>(number);
}

int close_tape(ZOR_IMAGE *image) {
    ++tape_state.closes;
    ERR_free(image->data[0]);
    zor__free_obj(image);
    return 0;
}

int seek(void *, int y) {
    tape_state.seek_target = y;
    return tape_state.seek_result;
}

int raster(void *, ZOR_WORD a, ZOR_WORD b, ZOR_WORD c, ZOR_WORD d, ZOR_WORD e) {
    return a + b + c + d + e == 15 ? 0 : ZOR_E_READ;
}

int direct(void *state, int y, ZOR_WORD a, ZOR_WORD b, ZOR_WORD c, ZOR_WORD d) {
    void *rows = nullptr;
    return a + b + c + d == 10 ? transfer(state, y, &rows) : ZOR_E_READ;
}

bool describe(ZOR_IMAGE *image) {
    if (zor__build_handle(image, 1) != 0)
        return false;
    ZOR_IMAGE_DESC *desc = &image->images[0];
    zor__describe(desc, tape_width, tape_top - tape_bottom + 1, 1, 8);
    desc->win_bottom = desc->act_bottom = tape_bottom;
    desc->win_top = desc->act_top = tape_top;
    desc->orientation = is_named(image, "rising") ? ZOR_ORIENTATION_RISING : 0;
    if (is_named(image, "below")) {
        desc->win_bottom = desc->act_bottom = -5;
        desc->win_top = desc->act_top = 5;
    }
    return true;
}

int open_tape(ZOR_IMAGE *image) {
    if (is_named(image, "refused"))
        return 0;
    auto *tape = static_cast<Tape *>(ERR_malloc(sizeof(Tape)));
    void **rows = tape != nullptr ? ZOR_chan_alloc(image, 0) : nullptr;
    if (rows == nullptr) {
        ERR_free(tape);
        zor__err = ZOR_E_MEMORY;
        return 0;
    }
    const ZOR_IMAGE_DESC &desc = image->images[0];
    const bool rising = (desc.orientation & ZOR_ORIENTATION_RISING) != 0;
    *tape = {image, rows, rising ? desc.win_bottom : desc.win_top, rising ? 1 : -1};
    image->data[0] = tape;
    image->close = close_tape;
    if (is_named(image, "huge"))
        image->images[0].win_top = INT32_MAX;
    if (is_named(image, "empty"))
        image->images[0].win_right = -1;
    image->num_frames = TAPE_FRAMES;
    if (is_named(image, "plays")) {
        using W = ZOR_WORD;
        image->get_frame = image->set_frame = image->playback_goto = play<W>;
        image->playback_bind = play<W, W>;
        image->playback_play = play<W, W, W, W, W>;
        image->playback_params = play<W, W, W, W, W, W, W, W>;
        image->playback_stop = play<W>;
    }
    if (!is_named(image, "mute"))
        image->scan = transfer;
    if (is_named(image, "seeks"))
        image->seek = seek;
    if (is_named(image, "random")) {
        image->raster = raster;
        image->region = raster;
        image->direct_scan = direct;
    }
    return 1;
}

} // namespace

int imageReadOpen(ZOR_IMAGE *image) {
    ++tape_state.opens;
    return describe(image) ? open_tape(image) : 0;
}

int imageWriteOpen(ZOR_IMAGE *image) { return open_tape(image); }

void imageCapability(ZOR_CAPABILITY **list, int32_t *first, int32_t *second, int32_t *count) {
    *list = tape_capabilities;
    *first = 3;
    *second = -2;
    *count = 2;
}

unsigned char imageCapsAvailUpdate(ZOR_WORD x, ZOR_WORD y) {
    return ZOR_set_available(&tape_capabilities[x], static_cast<unsigned char>(y));
}
