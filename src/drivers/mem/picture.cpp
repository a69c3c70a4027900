// picture.cpp - images held in memory.
#include "drivers/mem/picture.h"

#include <cstring>

#include "base/base/owned.h"
#include "core/channels.h"
#include "core/description.h"
#include "core/handle.h"
#include "err/status.h"

namespace zor::mem {

namespace {

int64_t num_stored(const ZOR_IMAGE_DESC &desc) {
    return int64_t{desc.act_top} - desc.act_bottom + 1;
}

// Allocates the rows of a sub-image. They stay untouched until they are written: a system that
// grants memory on trust is not made to deliver for an image that stays empty.
bool make_rows(SubImage *sub, const ZOR_IMAGE_DESC &desc) {
    sub->desc = &desc;
    const auto active = static_cast<uint64_t>(active_width(desc));
    uint64_t row_size = 0; // below 2^51: there are at most 3 x 32767 channels
    for_each_channel(desc, [&](int32_t, size_t size) { row_size += active * size; });
    if (row_size == 0)
        return true;
    // A size that cannot be had is asked for all the same, so that it is reported.
    const auto count = static_cast<uint64_t>(num_stored(desc));
    const uint64_t size = row_size < UINT64_MAX / count ? (row_size + 1) * count : UINT64_MAX;
    sub->rows = static_cast<uint8_t *>(
        ERR_malloc(size <= PTRDIFF_MAX ? static_cast<size_t>(size) : SIZE_MAX));
    if (sub->rows == nullptr)
        return set_status(ZOR_E_MEMORY) == 0;
    sub->row_size = static_cast<size_t>(row_size);
    std::memset(sub->rows + row_size * count, 0, static_cast<size_t>(count));
    return true;
}

bool make_sub_images(Picture *picture) {
    const ZOR_INFO &info = picture->info;
    picture->subs = allocate<SubImage>(info.num_images);
    if (picture->subs == nullptr)
        return set_status(ZOR_E_MEMORY) == 0;
    std::memset(picture->subs, 0, static_cast<size_t>(info.num_images) * sizeof(SubImage));
    for (int32_t i = 0; i < info.num_images; ++i)
        if (!make_rows(&picture->subs[i], info.images[i]))
            return false;
    return true;
}

// The tables are the handle's until they are copied.
bool own_tables(ZOR_INFO *info, const ZOR_IMAGE &image) {
    for (int32_t i = 0; i < info->num_images; ++i)
        info->images[i].curve.tables = nullptr;
    for (int32_t i = 0; i < info->num_images; ++i)
        if (ZOR_response_curve_copy(&info->images[i].curve, &image.images[i].curve) != 0)
            return set_status(ZOR_E_MEMORY) == 0;
    return true;
}

} // namespace

Picture *new_picture(const ZOR_IMAGE &image) {
    auto *picture = allocate<Picture>();
    if (picture == nullptr) {
        set_status(ZOR_E_MEMORY);
        return nullptr;
    }
    *picture = {};
    picture->users = 1;
    if (ZOR_info_from_image(&picture->info, &image) == 0 && own_tables(&picture->info, image) &&
        make_sub_images(picture))
        return picture;
    free_picture(picture);
    return nullptr;
}

void free_picture(Picture *picture) {
    ZOR_INFO &info = picture->info;
    for (int32_t i = 0; i < info.num_images && info.images != nullptr; ++i) {
        if (picture->subs != nullptr)
            ERR_free(picture->subs[i].rows);
        ZOR_response_curve_done(&info.images[i].curve);
    }
    ERR_free(picture->subs);
    if (is_initialised(info)) // not so when filling it failed
        ZOR_info_cleanup(&info, 1);
    ERR_free(picture);
}

bool describe_handle(ZOR_IMAGE *image, const Picture &picture) {
    const ZOR_INFO &info = picture.info;
    if (zor__build_handle(image, info.num_images) != 0)
        return false;
    for (int32_t i = 0; i < info.num_images; ++i)
        if (copy_whole_description(&image->images[i], info.images[i]) != 0)
            return false;
    for (const SharedText &text : shared_texts) {
        // How it was opened is the handle's own.
        const bool taken = image->*text.of_image != nullptr;
        if (!taken && !save_text(&(image->*text.of_image), info.*text.of_info))
            return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY) == 0;
    }
    const int32_t add_extension = image->add_extension;
    copy_shared_words(image, info);
    image->add_extension = add_extension;
    return true;
}

bool has_row(const SubImage &sub, int32_t y) {
    return y >= 0 && y <= sub.desc->win_top - sub.desc->win_bottom;
}

namespace {

// A stored row and its mark; nulls where nothing is stored.
struct StoredRow {
    uint8_t *samples;
    uint8_t *written;
};

StoredRow stored_row(const SubImage &sub, int32_t y) {
    const ZOR_IMAGE_DESC &desc = *sub.desc;
    const int64_t index = int64_t{desc.win_bottom} + y - desc.act_bottom;
    if (sub.rows == nullptr || index < 0 || index >= num_stored(desc))
        return {nullptr, nullptr};
    const auto at = static_cast<size_t>(index);
    uint8_t *marks = sub.rows + sub.row_size * static_cast<size_t>(num_stored(desc));
    return {sub.rows + sub.row_size * at, marks + at};
}

// Samples of a row: in front of the active window, in it, and behind it.
struct RowParts {
    explicit RowParts(const ZOR_IMAGE_DESC &desc)
        : left(static_cast<size_t>(desc.act_left - desc.win_left)),
          active(static_cast<size_t>(active_width(desc))),
          right(static_cast<size_t>(desc.win_right - desc.act_right)) {}
    size_t left, active, right;
};

} // namespace

void store_row(SubImage *sub, int32_t y, void *const *rows) {
    const StoredRow stored = stored_row(*sub, y);
    if (stored.samples == nullptr)
        return;
    const RowParts parts(*sub->desc);
    uint8_t *to = stored.samples;
    for_each_channel(*sub->desc, [&](int32_t channel, size_t size) {
        const auto *row = static_cast<const uint8_t *>(rows[channel]);
        std::memcpy(to, row + parts.left * size, parts.active * size);
        to += parts.active * size;
    });
    *stored.written = 1;
}

void load_row(const SubImage &sub, int32_t y, void *const *rows) {
    const StoredRow stored = stored_row(sub, y);
    const bool written = stored.written != nullptr && *stored.written != 0;
    const RowParts parts(*sub.desc);
    const uint8_t *from = stored.samples;
    for_each_channel(*sub.desc, [&](int32_t channel, size_t size) {
        auto *row = static_cast<uint8_t *>(rows[channel]);
        if (!written) {
            std::memset(row, 0, (parts.left + parts.active + parts.right) * size);
            return;
        }
        // The margins too: whoever had the row before may have changed them.
        std::memset(row, 0, parts.left * size);
        std::memcpy(row + parts.left * size, from, parts.active * size);
        std::memset(row + (parts.left + parts.active) * size, 0, parts.right * size);
        from += parts.active * size;
    });
}

} // namespace zor::mem
