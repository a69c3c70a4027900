// min_max.cpp - ranges stretched to all that a sample can hold.
#include <cmath>
#include <type_traits>

#include "ops/row_map.h"

namespace zor {

namespace {

struct Stretch {
    double low, width; // of the range; low in terms of samples
    double largest;    // value of an integer
};
using MinMax = RowMap<Tag::min_max, Stretch>;

// By division, not by a reciprocal: the high end gives exactly 1.
template<class Sample>
void stretch_row(void *row, int64_t offset, int64_t count, const Stretch &params) {
    auto *samples = static_cast<Sample *>(row) + offset;
    const Stretch by = params; // which no sample can change
    for (int64_t x = 0; x < count; ++x) {
        const double value = (static_cast<double>(samples[x]) - by.low) / by.width;
        if constexpr (std::is_floating_point_v<Sample>)
            samples[x] = static_cast<Sample>(value);
        else
            samples[x] = to_sample<Sample>(value, by.largest);
    }
}

bool is_usable(const ZOR_RANGE &range) {
    return std::isfinite(range.low) && std::isfinite(range.high) && range.low < range.high;
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__min_max(ZOR_IMAGE *image, const ZOR_RANGE *const ranges[3]) {
    using namespace zor;
    if (image == nullptr || image->num_images < 1)
        return image;
    const ZOR_IMAGE_DESC &desc = image->images[0];
    const auto groups = copy_groups(desc);
    bool needed = false;
    for (size_t g = 0; g < num_groups; ++g) {
        if (ranges[g] != nullptr && !is_usable(*ranges[g])) {
            zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, "min-max transform operator");
            return image;
        }
        needed = needed || (ranges[g] != nullptr && groups[g].count > 0);
    }
    if (!needed)
        return image;
    RecordPtr<MinMax> record = new_row_map<MinMax>(desc);
    if (record == nullptr)
        return image;
    for (size_t g = 0; g < num_groups; ++g) {
        if (ranges[g] == nullptr)
            continue;
        const double low = ranges[g]->low;
        const double largest = largest_value(groups[g]);
        record->set_work(g, groups[g], {low * largest, ranges[g]->high - low, largest},
                         choose_by_sample(groups[g], []<class Sample>(Sample) -> MinMax::Work {
                             return &stretch_row<Sample>;
                         }));
    }
    return install(image, std::move(record));
}

int ZOR__min_max_undo(ZOR_IMAGE *image) { return zor::undo<zor::MinMax>(image); }
