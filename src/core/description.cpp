// description.cpp - image descriptions: copying, completing, freeing.
#include "core/description.h"

#include <algorithm>
#include <cstring>

#include "core/channels.h"
#include "curve/tables.h"
#include "err/status.h"
#include "zor/fmt.h"
#include "zor/str.h"

namespace zor {

bool save_text(char **field, const char *text) {
    *field = text != nullptr ? STR_save(text) : nullptr;
    return text == nullptr || *field != nullptr;
}

void drop_text(char **field) {
    ERR_free(*field);
    *field = nullptr;
}

void free_description_texts(ZOR_IMAGE_DESC *desc) {
    drop_text(&desc->chan_format);
    drop_text(&desc->aux_name);
    drop_text(&desc->picture_format);
    drop_text(&desc->ratio_text);
}

bool copy_description(ZOR_IMAGE_DESC *copy, const ZOR_IMAGE_DESC &desc) {
    *copy = desc;
    copy->chan_format = copy->aux_name = copy->picture_format = copy->ratio_text = nullptr;
    if (save_text(&copy->chan_format, desc.chan_format) &&
        save_text(&copy->aux_name, desc.aux_name) &&
        save_text(&copy->picture_format, desc.picture_format) &&
        save_text(&copy->ratio_text, desc.ratio_text))
        return true;
    free_description_texts(copy);
    copy->curve.tables = nullptr;
    return false;
}

int32_t copy_whole_description(ZOR_IMAGE_DESC *copy, const ZOR_IMAGE_DESC &desc) {
    if (!copy_description(copy, desc))
        return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
    copy->curve.tables = nullptr; // shared so far
    if (desc.curve.kind == 2 && ZOR_response_curve_copy(&copy->curve, &desc.curve) != 0)
        return set_status(can_have_tables(desc.curve) ? ZOR_E_MEMORY : ZOR_E_UNSUPPORTED);
    return 0;
}

bool complete_description(ZOR_IMAGE_DESC *desc, float default_gamma) {
    if (desc->chan_format == nullptr && !save_text(&desc->chan_format, FMT_def_image_data()))
        return false;
    if (desc->picture_width <= 0)
        desc->picture_width = window_width(*desc);
    if (desc->picture_height <= 0)
        desc->picture_height = desc->win_top - desc->win_bottom + 1;
    if (!(desc->picture_aspect > 0.0F)) {
        const FMT_ASPECT *entry =
            desc->picture_format != nullptr ? FMT_find(desc->picture_format) : nullptr;
        const bool known = entry != nullptr && entry->aspect > 0.0F;
        desc->picture_aspect = known ? entry->aspect
                                     : static_cast<float>(desc->picture_width) /
                                           static_cast<float>(desc->picture_height);
    }
    if (desc->curve.kind != 1 && desc->curve.kind != 2) {
        desc->curve.kind = 1;
        desc->curve.gamma = default_gamma;
    }
    return true;
}

bool has_sound_windows(const ZOR_IMAGE_DESC &desc) {
    const auto spans = [](int32_t first, int32_t last) {
        return first <= last && last < INT32_MAX && static_cast<int64_t>(last) - first < INT32_MAX;
    };
    return spans(desc.win_left, desc.win_right) && spans(desc.win_bottom, desc.win_top) &&
           desc.win_left <= desc.act_left && desc.act_left <= desc.act_right &&
           desc.act_right <= desc.win_right && desc.win_bottom <= desc.act_bottom &&
           desc.act_bottom <= desc.act_top && desc.act_top <= desc.win_top;
}

namespace {

// Slots and descriptions are made together. A file that is read may turn out to have no image. A
// wrong count is put right, for whoever frees what there is.
bool has_sound_images(ZOR_IMAGE *image, bool reads) {
    if (image->images == nullptr)
        image->num_images = 0;
    if (image->num_images >= (reads ? 0 : 1) && image->num_images <= image->num_slots)
        return true;
    image->num_images = image->images != nullptr ? std::max(image->num_slots, 0) : 0;
    return false;
}

// What is counted in channels, or made room for by them, must stay far from overflowing.
bool has_sound_count(const ZOR_IMAGE_DESC &desc) {
    constexpr int64_t most_channels = int64_t{1} << 24;
    return int64_t{desc.image.count} + desc.matte.count + desc.aux.count <= most_channels;
}

} // namespace

int32_t check_descriptions(ZOR_IMAGE *image) {
    const bool reads = (image->mode & ZOR_MODE_READ) != 0;
    if (!has_sound_images(image, reads))
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, image->key);
    for (int32_t i = 0; i < image->num_images; ++i) {
        ZOR_IMAGE_DESC *desc = &image->images[i];
        if (!has_sound_windows(*desc))
            return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, image->key);
        if (const int32_t status = check_channels(*desc, any_channels, image->key); status != 0)
            return status;
        if (!has_sound_count(*desc))
            return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, image->key);
        if (!complete_description(desc, reads ? FMT_def_input_gamma() : FMT_def_gamma()))
            return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
    }
    return 0;
}

void clear_descriptions(ZOR_IMAGE *image) {
    for (int32_t i = 0; i < image->num_images; ++i) {
        ZOR_IMAGE_DESC *desc = &image->images[i];
        desc->win_left = desc->win_right = desc->win_bottom = desc->win_top = 0;
        desc->act_left = desc->act_right = desc->act_bottom = desc->act_top = 0;
        desc->image = desc->matte = desc->aux = {};
    }
}

} // namespace zor

void zor__describe(ZOR_IMAGE_DESC *desc, int32_t width, int32_t height, int32_t num_channels,
                   int32_t bits) {
    std::memset(desc, 0, sizeof *desc);
    desc->win_right = desc->act_right = width - 1;
    desc->win_top = desc->act_top = height - 1;
    desc->chan_flag = 1;
    desc->image = {num_channels, ZOR_C_INTEGER, bits};
    desc->frame = -1;
}
