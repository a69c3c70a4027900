// info.cpp - the open request: its initial values, its end, and records made from open images.
#include <cstdio>

#include "base/base/owned.h"
#include "core/description.h"
#include "core/handle.h"
#include "err/status.h"
#include "zor/driver.h"

namespace {

constexpr int32_t initialised_marker = 22839;

// The chromaticities a new record has, whatever the colour defaults say.
constexpr float initial_primaries[12] = {0.67F, 0.33F, 0.0F,  0.21F, 0.71F,  0.08F,
                                         0.14F, 0.08F, 0.78F, 0.31F, 0.316F, 0.374F};

// The texts and blocks that go with a record.
constexpr char *ZOR_INFO::*const owned_texts[] = {
    &ZOR_INFO::key,         &ZOR_INFO::file_name, &ZOR_INFO::name,    &ZOR_INFO::extension,
    &ZOR_INFO::description, &ZOR_INFO::program,   &ZOR_INFO::machine, &ZOR_INFO::user,
    &ZOR_INFO::date,        &ZOR_INFO::time,      &ZOR_INFO::filter,  &ZOR_INFO::compression,
};

void free_descriptions(ZOR_INFO *info) {
    if (info->images != nullptr)
        for (int32_t i = 0; i < info->num_images; ++i)
            zor::free_description_texts(&info->images[i]);
    ERR_free(info->images);
    info->images = nullptr;
}

} // namespace

namespace zor {

bool is_initialised(const ZOR_INFO &info) { return info.marker == initialised_marker; }

} // namespace zor

void ZOR_info_init(ZOR_INFO *info) {
    for (const auto text : owned_texts)
        info->*text = nullptr;
    info->complete_path = 0;
    info->cap_settings = nullptr;
    info->app_word = 0;
    info->field_flag = 0;
    info->job_number = -1;
    info->add_extension = 1;
    info->reserved9 = 0;
    info->marker = initialised_marker;
    for (int i = 0; i < 12; ++i)
        info->primaries[i] = initial_primaries[i];
    info->num_images = 0;
    info->images = nullptr;
    info->frame_count = 1;
    info->frame_rate = 29.97F;
    info->first_frame = 1;
    for (int i = 0; i < 3; ++i) {
        info->reserved16[i] = 0;
        info->reserved18[i] = 0;
    }
}

ZOR_INFO *ZOR_info_alloc(void) {
    auto *info = zor::allocate<ZOR_INFO>();
    if (info != nullptr)
        ZOR_info_init(info);
    else
        zor::set_status(ZOR_E_MEMORY);
    return info;
}

void ZOR_info_cleanup(ZOR_INFO *info, unsigned char free_contents) {
    if (info == nullptr)
        return;
    if (!zor::is_initialised(*info))
        std::fputs("ZOR_info_cleanup: application programming error.\n"
                   "The ZOR_INFO structure being freed has either been "
                   "freed already or else was never initialised.\n",
                   stderr);
    info->marker = 0;
    if (free_contents == 0)
        return;
    for (const auto text : owned_texts)
        zor::drop_text(&(info->*text));
    free_descriptions(info);
}

int ZOR_info_free(ZOR_INFO *info, unsigned char free_contents) {
    ZOR_info_cleanup(info, free_contents);
    ERR_free(info);
    return 0;
}

ZOR_IMAGE_DESC *ZOR_info_add_image(ZOR_INFO *info, int32_t width, int32_t height) {
    const int32_t count = info->images == nullptr || info->num_images < 0 ? 0 : info->num_images;
    auto *grown = zor::reallocate(info->images, int64_t{count} + 1);
    if (grown == nullptr || count == INT32_MAX) {
        zor::set_status(ZOR_E_MEMORY);
        return nullptr;
    }
    info->images = grown;
    info->num_images = count + 1;
    ZOR_IMAGE_DESC *desc = &info->images[count];
    zor__describe(desc, width, height, 3, 8);
    return desc;
}

int ZOR_info_from_image(ZOR_INFO *info, const ZOR_IMAGE *image) {
    ZOR_info_init(info);
    bool good = true;
    for (const zor::SharedText &text : zor::shared_texts)
        good = good && zor::save_text(&(info->*text.of_info), image->*text.of_image);
    info->complete_path = 1;
    zor::copy_shared_words(info, *image);
    info->first_frame = image->first_frame;

    const int32_t count = ZOR_image_count(image);
    if (good && count > 0) {
        info->images = zor::allocate<ZOR_IMAGE_DESC>(count);
        good = info->images != nullptr;
        for (int32_t i = 0; good && i < count; ++i) {
            good = zor::copy_description(&info->images[i], image->images[i]);
            info->num_images += good ? 1 : 0;
        }
    }
    if (good)
        return 0;
    ZOR_info_cleanup(info, 1);
    ZOR_info_init(info); // so that callers may clean up whatever came of it
    return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
}
