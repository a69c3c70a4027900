// remap.cpp - ranges of floats mapped to [0, 1].
#include <cmath>
#include <limits>
#include <type_traits>

#include "ops/row_map.h"

namespace zor {

namespace {

struct Range {
    float low, high;
    float width, reciprocal;
};
using Remap = RowMap<Tag::remap, Range>;

template<class Sample>
void remap_row(void *row, int64_t offset, int64_t count, const Range &params) {
    auto *samples = static_cast<Sample *>(row) + offset;
    const auto low = static_cast<Sample>(params.low);
    const auto width = static_cast<Sample>(params.width);
    const auto reciprocal = static_cast<Sample>(params.reciprocal);
    for (int64_t x = 0; x < count; ++x) {
        const Sample above = samples[x] - low;
        const Sample positive = above > 0 ? above : 0; // and for NaN
        samples[x] = (positive < width ? positive : width) * reciprocal;
    }
}

Remap::Work choose_work(const ZOR_CHANNELS &group) {
    return choose_by_sample(group, []<class Sample>(Sample) -> Remap::Work {
        if constexpr (std::is_floating_point_v<Sample>)
            return &remap_row<Sample>;
        else
            return nullptr;
    });
}

// Of floats that have a width and the inverse of one.
bool is_usable(const Range &range) {
    return range.low < range.high && std::isfinite(range.width) && std::isfinite(range.reciprocal);
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__remap(ZOR_IMAGE *image, const ZOR_RANGE *const ranges[3]) {
    using namespace zor;
    if (image == nullptr || image->num_images < 1 || image->images[0].chan_flag != 1)
        return image;
    const ZOR_IMAGE_DESC &desc = image->images[0];
    const auto groups = copy_groups(desc);
    std::array<Range, num_groups> wanted = {};
    bool needed = false;
    for (size_t g = 0; g < num_groups; ++g) {
        if (ranges[g] == nullptr)
            continue;
        if (groups[g].type != ZOR_C_FLOAT)
            return image;
        const auto [low, high] = *ranges[g];
        wanted[g] = {low, high, high - low, 1.0F / (high - low)};
        if (!is_usable(wanted[g])) {
            zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, "range remap operator");
            return image;
        }
        needed = true;
    }
    if (!needed)
        return image;
    RecordPtr<Remap> record = new_row_map<Remap>(desc);
    if (record == nullptr)
        return image;
    const ActivePart part = active_part(desc);
    record->count = part.count;
    record->offset = part.offset;
    record->first_line = part.bottom;
    // One line more than the active window has: pictures look as they always did.
    record->last_line = part.top < std::numeric_limits<int32_t>::max() ? part.top + 1 : part.top;
    for (size_t g = 0; g < num_groups; ++g) {
        if (ranges[g] != nullptr)
            record->set_work(g, groups[g], wanted[g], choose_work(groups[g]));
    }
    return install(image, std::move(record));
}

int ZOR__remap_undo(ZOR_IMAGE *image) { return zor::undo<zor::Remap>(image); }
