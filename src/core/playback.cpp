// playback.cpp - frames of multi-frame files, and their playback: calls that go straight on to the
// driver.
#include "core/description.h"
#include "core/handle.h"
#include "err/status.h"
#include "zor/driver.h"

namespace {

// Reports that a file cannot do what was asked.
using Refusal = void (*)(const char *file_name, const char *key);

#define ZOR_REFUSAL(message)                                   \
    [](const char *file_name, const char *key) {               \
        ERR_report_cat(zor__msg_cat, message, file_name, key); \
    }

// Whether a call goes to another frame, whose description may be another.
enum class Moves { no, yes };

// Returns the driver's result when it says of the images what can be, as it had to when it opened
// the file. What cannot be must not stay: nobody asks again.
int settle_frame(ZOR_IMAGE *image, int result) {
    const int32_t status = zor::check_descriptions(image);
    if (status == 0)
        return result;
    zor::clear_descriptions(image);
    return status;
}

// Calls one of the handle's functions with the driver's state. No lock is taken: stopping must get
// through while playing. A refusal leaves zor__err as it was.
template<class Function, class... Words>
int forward(ZOR_IMAGE *image, Function ZOR_IMAGE::*function, Moves moves, Refusal refuse,
            Words... words) {
    if (image == nullptr)
        return zor::set_status(ZOR_E_UNSUPPORTED);
    // Operators have settled for the description of the frame they were pushed on.
    const bool stays = moves == Moves::yes && zor::has_operators(*image);
    void *state = zor::driver_state(*image);
    if (image->*function != nullptr && image->num_frames > 0 && state != nullptr && !stays) {
        const int result = (image->*function)(state, words...);
        return moves == Moves::yes ? settle_frame(image, result) : result;
    }
    const auto text = [](const char *given) { return given != nullptr ? given : ""; };
    refuse(text(image->file_name), text(image->key));
    return ZOR_E_UNSUPPORTED;
}

} // namespace

// Asking for the frame shares the report of setting it.
int ZOR_get_frame(ZOR_IMAGE *image, ZOR_WORD frame) {
    return forward(image, &ZOR_IMAGE::get_frame, Moves::no, ZOR_REFUSAL(ZOR_MSG_NO_SET_FRAME),
                   frame);
}

int ZOR_set_frame(ZOR_IMAGE *image, ZOR_WORD frame) {
    return forward(image, &ZOR_IMAGE::set_frame, Moves::yes, ZOR_REFUSAL(ZOR_MSG_NO_SET_FRAME),
                   frame);
}

int ZOR_playback_bind(ZOR_IMAGE *image, ZOR_WORD a, ZOR_WORD b) {
    return forward(image, &ZOR_IMAGE::playback_bind, Moves::no, ZOR_REFUSAL(ZOR_MSG_NO_BIND), a, b);
}

int ZOR_playback_goto(ZOR_IMAGE *image, ZOR_WORD frame) {
    return forward(image, &ZOR_IMAGE::playback_goto, Moves::yes, ZOR_REFUSAL(ZOR_MSG_NO_GOTO),
                   frame);
}

int ZOR_playback_play(ZOR_IMAGE *image, ZOR_WORD a, ZOR_WORD b, ZOR_WORD c, ZOR_WORD d,
                      ZOR_WORD e) {
    return forward(image, &ZOR_IMAGE::playback_play, Moves::yes, ZOR_REFUSAL(ZOR_MSG_NO_PLAY), a, b,
                   c, d, e);
}

int ZOR_playback_params(ZOR_IMAGE *image, ZOR_WORD a, ZOR_WORD b, ZOR_WORD c, ZOR_WORD d,
                        ZOR_WORD e, ZOR_WORD f, ZOR_WORD g, ZOR_WORD h) {
    return forward(image, &ZOR_IMAGE::playback_params, Moves::no, ZOR_REFUSAL(ZOR_MSG_NO_PARAMS), a,
                   b, c, d, e, f, g, h);
}

int ZOR_playback_stop(ZOR_IMAGE *image, ZOR_WORD a) {
    return forward(image, &ZOR_IMAGE::playback_stop, Moves::no, ZOR_REFUSAL(ZOR_MSG_NO_STOP), a);
}
