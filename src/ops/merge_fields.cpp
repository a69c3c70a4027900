// merge_fields.cpp - two fields as one frame.
//
// Rows of a frame are the fields' own rows, handed on. Line y of the frame is line y / 2 of a
// field, rounded down, which leaves the frame's top line, 2 top + 1, to the even field.
#include <algorithm>
#include <cstring>

#include "ops/operator.h"
#include "ops/samples.h"
#include "ops/shape.h"
#include "zor/fmt.h"

namespace zor {

namespace {

constexpr const char *display_name = "merge fields operator";

struct MergeFields {
    static constexpr Tag tag = Tag::merge_fields;
    OperatorHead head;
    ZOR_IMAGE *other = nullptr; // the caller's
    bool other_is_even = false;
    OldShape old;

    int scan(int y, void **rows);
    void restore(ZOR_IMAGE &image) const { old.restore(image); }
};

int MergeFields::scan(int y, void **rows) {
    const int line = y >> 1; // rounds down
    const bool even = (y & 1) != 0;
    if (line < old.desc.win_bottom || line > old.desc.win_top)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    if (even == other_is_even)
        return ZOR_scan_read(other, line, reinterpret_cast<void ***>(rows));
    const int result = scan_below(head, line, rows);
    if (result >= 0)
        old.last_line = line;
    return result;
}

int merge_scan(void *state, int y, void **rows) {
    return state != nullptr ? static_cast<MergeFields *>(state)->scan(y, rows) : report_locked();
}

bool are_alike(const ZOR_CHANNELS &a, const ZOR_CHANNELS &b) {
    return a.count == b.count && (a.count == 0 || (a.type == b.type && a.bits == b.bits));
}
bool are_alike(const ZOR_RESPONSE_CURVE &a, const ZOR_RESPONSE_CURVE &b) {
    return a.kind == b.kind && a.gamma == b.gamma &&
           (a.kind != 2 || (a.num_channels == b.num_channels && a.num_elements == b.num_elements &&
                            a.type == b.type && a.depth == b.depth));
}
bool are_alike(const char *a, const char *b) {
    return a == b || (a != nullptr && b != nullptr && std::strcmp(a, b) == 0);
}

bool are_alike(const ZOR_IMAGE_DESC &a, const ZOR_IMAGE_DESC &b) {
    using Field = int32_t ZOR_IMAGE_DESC::*;
    constexpr Field fields[] = {
        &ZOR_IMAGE_DESC::size_code,   &ZOR_IMAGE_DESC::win_left,   &ZOR_IMAGE_DESC::win_right,
        &ZOR_IMAGE_DESC::win_bottom,  &ZOR_IMAGE_DESC::win_top,    &ZOR_IMAGE_DESC::act_left,
        &ZOR_IMAGE_DESC::act_right,   &ZOR_IMAGE_DESC::act_bottom, &ZOR_IMAGE_DESC::act_top,
        &ZOR_IMAGE_DESC::orientation, &ZOR_IMAGE_DESC::chan_flag};
    return std::all_of(std::begin(fields), std::end(fields),
                       [&](Field field) { return a.*field == b.*field; }) &&
           are_alike(a.image, b.image) && are_alike(a.matte, b.matte) && are_alike(a.aux, b.aux) &&
           are_alike(a.curve, b.curve) && are_alike(a.chan_format, b.chan_format);
}

// Whether a frame of such fields has line numbers.
bool can_double(const ZOR_IMAGE_DESC &desc) {
    return desc.win_bottom <= desc.win_top && desc.win_bottom >= INT32_MIN / 2 &&
           desc.win_top < INT32_MAX / 2 && 2 * height_of(desc) <= INT32_MAX;
}

bool can_merge(const ZOR_IMAGE &image, const ZOR_IMAGE *other) {
    return other != nullptr && other != &image && reads(*other) && image.num_images >= 1 &&
           other->num_images >= 1 && are_alike(image.images[0], other->images[0]) &&
           can_double(image.images[0]);
}

void describe(ZOR_IMAGE_DESC *desc) {
    if (desc->picture_height == height_of(*desc))
        desc->picture_height *= 2; // else it is the frame's already
    // Kept inside the window, whatever a driver says.
    const int32_t bottom = std::clamp(desc->act_bottom, desc->win_bottom, desc->win_top);
    const int32_t top = std::clamp(desc->act_top, bottom, desc->win_top);
    desc->act_bottom = 2 * bottom;
    desc->act_top = 2 * top + 1;
    desc->win_bottom *= 2;
    desc->win_top = 2 * desc->win_top + 1;
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__merge_fields(ZOR_IMAGE *image, ZOR_IMAGE *other) {
    using namespace zor;
    if (image == nullptr)
        return image;
    if (!reads(*image) || !can_merge(*image, other)) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, display_name);
        return image;
    }
    RecordPtr<MergeFields> record = new_record<MergeFields>();
    if (record == nullptr)
        return image;
    record->other = other;
    record->other_is_even = FMT_def_dominance() != 0; // the even field is shown second
    record->old.save(*image);
    describe(&image->images[0]);
    start_new_shape(*image);
    return install_with(image, std::move(record), &merge_scan);
}

int ZOR__merge_fields_undo(ZOR_IMAGE *image) { return zor::undo<zor::MergeFields>(image); }
