// change_width.cpp - integers of another width, by a shift.
#include <algorithm>
#include <array>

#include "ops/operator.h"
#include "ops/row_kernels.h"
#include "ops/samples.h"
#include "ops/shift_row.h"

namespace zor {

namespace {

// Converts a row in place, from its front; samples shrink or keep their size.
//   shift  to the right; to the left when negative
using Convert = void (*)(void *row, int64_t count, int32_t shift);

struct ChangeWidth {
    static constexpr Tag tag = Tag::change_width;
    struct GroupShift {
        int32_t shift;
        Convert convert; // null: as it is
        int32_t per_row; // channels interleaved in a row
    };
    OperatorHead head;
    std::array<ZOR_CHANNELS, num_groups> groups = {}; // as they were
    int32_t width = 0;
    std::array<GroupShift, num_groups> shifts = {};

    void read(int /*y*/, void **&rows) const {
        int32_t first = 0;
        for (size_t g = 0; g < num_groups; ++g) {
            const auto &[shift, convert, per_row] = shifts[g];
            const int32_t end = first + groups[g].count;
            for (int32_t k = first; convert != nullptr && k < end; k += per_row)
                convert(rows[k], int64_t{width} * per_row, shift);
            first = end;
        }
    }
    void restore(ZOR_IMAGE &image) const { put_groups(image.images[0], groups); }
};

// Null when samples would have to grow.
Convert choose_convert(const ZOR_CHANNELS &from, const ZOR_CHANNELS &to, int32_t shift) {
    return choose_by_sample(from, [&]<class From>(From) -> Convert {
        return choose_by_sample(to, [&]<class To>(To) -> Convert {
            if constexpr (sizeof(From) == 2 && sizeof(To) == 1)
                return row_kernels().narrow;
            else if constexpr (std::is_integral_v<From> && std::is_integral_v<To> &&
                               sizeof(To) <= sizeof(From))
                return choose_shift_row<From, To>(shift);
            else
                return nullptr;
        });
    });
}

// Works out what happens to a group, and gives it its new width. False when that cannot be.
bool plan(ZOR_CHANNELS &group, const ZOR_TARGET *target, ChangeWidth::GroupShift &shift) {
    if (target == nullptr || is_float(group))
        return true;
    if (target->type != ZOR_C_INTEGER)
        return false;
    if (group.count < 1 || target->bits == group.bits)
        return true;
    const ZOR_CHANNELS wanted = {group.count, target->type, target->bits};
    shift.shift = group.bits - target->bits;
    shift.convert = choose_convert(group, wanted, shift.shift);
    group = wanted;
    return shift.convert != nullptr;
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__change_width(ZOR_IMAGE *image, const ZOR_TARGET *const targets[3]) {
    using namespace zor;
    if (image == nullptr || image->num_images < 1 || !reads(*image) ||
        std::all_of(targets, targets + num_groups, [](auto *target) { return target == nullptr; }))
        return image;
    RecordPtr<ChangeWidth> record = new_record<ChangeWidth>();
    if (record == nullptr)
        return image;
    ZOR_IMAGE_DESC &desc = image->images[0];
    record->groups = copy_groups(desc);
    record->width = row_width(desc);
    auto changed = record->groups;
    for (size_t g = 0; g < num_groups; ++g) {
        record->shifts[g].per_row = channels_per_row(desc, static_cast<Group>(g));
        if (!plan(changed[g], targets[g], record->shifts[g]))
            return image;
    }
    put_groups(desc, changed);
    return install(image, std::move(record));
}

int ZOR__change_width_undo(ZOR_IMAGE *image) { return zor::undo<zor::ChangeWidth>(image); }
