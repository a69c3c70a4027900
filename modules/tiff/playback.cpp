// playback.cpp - stepping through the frames of a file. Showing them at the right time is the
// application's business.
#include "reader.h"

namespace tiffio {

namespace {

Playback &playback_of(void *state) { return static_cast<Reader *>(state)->playback; }

// Goes to the frame behind the current one; behind the last one playback ends, unless it loops.
// Returns 1 when there is a frame to show, 0 at the end, or a negative status.
int step(Reader &reader) {
    Playback &playback = reader.playback;
    if (!playback.running)
        return 0;
    int64_t frame = frame_of(reader, reader.current) + playback.step;
    if (playback.step > 0 ? frame > playback.last : frame < playback.last) {
        playback.running = playback.loop;
        if (!playback.loop)
            return 0;
        frame = playback.first;
    }
    const int status = set_frame(&reader, static_cast<ZOR_WORD>(frame));
    playback.running = status == 0;
    return status == 0 ? 1 : status;
}

// Starts at a frame, to go on in steps up to or down to another; without a step it goes on.
int play(void *state, ZOR_WORD first, ZOR_WORD last, ZOR_WORD by, ZOR_WORD, ZOR_WORD) {
    auto &reader = *static_cast<Reader *>(state);
    if (by == 0)
        return step(reader);
    const int status = set_frame(state, first);
    if (status != 0)
        return status;
    Playback &playback = reader.playback;
    playback.running = true;
    playback.first = first;
    playback.last = last;
    playback.step = by;
    return 1;
}

int set_params(void *state, ZOR_WORD loop, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD,
               ZOR_WORD, ZOR_WORD) {
    playback_of(state).loop = loop != 0;
    return 0;
}

int stop(void *state, ZOR_WORD) {
    playback_of(state).running = false;
    return 0;
}

// There is nothing to bind: frames are shown by whoever reads them.
int bind(void *, ZOR_WORD, ZOR_WORD) { return 0; }

} // namespace

void offer_playback(ZOR_IMAGE *image) {
    image->playback_bind = bind;
    image->playback_goto = set_frame;
    image->playback_play = play;
    image->playback_params = set_params;
    image->playback_stop = stop;
}

} // namespace tiffio
