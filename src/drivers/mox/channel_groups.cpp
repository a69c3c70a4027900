// channel_groups.cpp - which channels the format can hold.
#include "drivers/mox/channel_groups.h"

namespace zor::mox {

ZOR_CHANNELS &group_channels(ZOR_IMAGE_DESC *desc, int kind) {
    return kind == 0 ? desc->image : kind == 1 ? desc->matte : desc->aux;
}

bool refuse_type(int kind, const char *key) {
    if (kind == 0)
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_TYPE, key);
    else if (kind == 1)
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_TYPE, key);
    else
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_AUX_TYPE, key);
    return false;
}

bool refuse_width(int kind, const char *key) {
    if (kind == 0)
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_WIDTH, key);
    else if (kind == 1)
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_WIDTH, key);
    else
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_AUX_WIDTH, key);
    return false;
}

bool choose_codecs(ZOR_IMAGE_DESC *desc, const char *key, ChannelGroup (&groups)[num_groups]) {
    for (int kind = 0; kind < num_groups; ++kind) {
        ZOR_CHANNELS &channels = group_channels(desc, kind);
        groups[kind] = {nullptr, channels.count};
        if (channels.count == 0)
            continue;
        if (channels.type < ZOR_C_INTEGER || channels.type > ZOR_C_DOUBLE)
            return refuse_type(kind, key);
        if (channels.type != ZOR_C_INTEGER)
            channels.bits = channels.type == ZOR_C_FLOAT ? 32 : 64;
        groups[kind].codec = row_codec(channels.type, channels.bits);
        if (groups[kind].codec == nullptr)
            return refuse_width(kind, key);
    }
    return true;
}

} // namespace zor::mox
