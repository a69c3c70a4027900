// xyz_luminance.cpp - 8-bit xyz to luminance: its second channel, corrected.
#include <algorithm>

#include "ops/color_check.h"
#include "ops/color_matrix.h"
#include "ops/operator.h"

namespace zor {

namespace {

constexpr char xyz_name[] = "xyz color transform operator";

struct XyzLuminance {
    static constexpr Tag tag = Tag::xyz_luminance;
    OperatorHead head;
    int32_t others = 0; // matte and auxiliary channels
    Owned<void *> handed_out;

    void restore(ZOR_IMAGE &image) const { image.images[0].image.count = 3; }
};

int luminance_scan(void *state, int y, void **rows) {
    const auto *record = static_cast<const XyzLuminance *>(state);
    if (record == nullptr)
        return report_locked();
    const int result = scan_below(record->head, y, rows);
    if (result < 0)
        return result;
    void **to = record->handed_out.get();
    if (to == nullptr)
        return set_status(ZOR_E_MEMORY);
    void **&from = *reinterpret_cast<void ***>(rows);
    to[0] = from[1];
    std::copy_n(from + 3, record->others, to + 1);
    from = to;
    return result;
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__xyz_luminance(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve) {
    using namespace zor;
    if (!can_correct(image, curve, xyz_name) || !reads(*image) || image->images[0].image.count != 3)
        return image;
    if (ZOR_color_matrix_set(3, image->primaries) != 0)
        return image;
    const void *const below = slot_state(*image);
    ZOR__gamma(image, curve);
    const auto give_up = [&] {
        set_status(ZOR_E_MEMORY);
        if (slot_state(*image) != below)
            ZOR__gamma_undo(image);
        return image;
    };
    RecordPtr<XyzLuminance> record = new_record<XyzLuminance>();
    if (record == nullptr)
        return give_up();
    ZOR_IMAGE_DESC &desc = image->images[0];
    record->others = desc.matte.count + desc.aux.count;
    record->handed_out.reset(allocate<void *>(int64_t{record->others} + 1));
    // The wrong way round, and kept: applications have come to rely on getting all three channels.
    if (record->handed_out != nullptr)
        return give_up();
    desc.image.count = 1;
    return install_with(image, std::move(record), &luminance_scan);
}

int ZOR__xyz_luminance_undo(ZOR_IMAGE *image) { return zor::undo<zor::XyzLuminance>(image); }
