// scale.cpp - samples multiplied by a factor.
#include <cmath>
#include <type_traits>

#include "ops/row_map.h"

namespace zor {

namespace {

struct Factor {
    float factor;
    double largest; // value of an integer
};
using Scale = RowMap<Tag::scale, Factor>;

template<class Sample>
void scale_row(void *row, int64_t offset, int64_t count, const Factor &params) {
    auto *samples = static_cast<Sample *>(row) + offset;
    const Factor by = params; // which no sample can change
    for (int64_t x = 0; x < count; ++x) {
        if constexpr (std::is_floating_point_v<Sample>)
            samples[x] *= static_cast<Sample>(by.factor);
        else
            samples[x] = to_sample<Sample>(samples[x] * static_cast<double>(by.factor), by.largest);
    }
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__scale(ZOR_IMAGE *image, const float factors[3]) {
    using namespace zor;
    if (image == nullptr || image->num_images < 1)
        return image;
    const ZOR_IMAGE_DESC &desc = image->images[0];
    const auto groups = copy_groups(desc);
    bool needed = false;
    for (size_t g = 0; g < num_groups; ++g) {
        if (!std::isfinite(factors[g])) {
            zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, "scale operator");
            return image;
        }
        needed = needed || (factors[g] != 1.0F && groups[g].count > 0);
    }
    if (!needed)
        return image;
    RecordPtr<Scale> record = new_row_map<Scale>(desc);
    if (record == nullptr)
        return image;
    for (size_t g = 0; g < num_groups; ++g) {
        if (factors[g] == 1.0F)
            continue;
        record->set_work(g, groups[g], {factors[g], largest_value(groups[g])},
                         choose_by_sample(groups[g], []<class Sample>(Sample) -> Scale::Work {
                             return &scale_row<Sample>;
                         }));
    }
    return install(image, std::move(record));
}

int ZOR__scale_undo(ZOR_IMAGE *image) { return zor::undo<zor::Scale>(image); }
