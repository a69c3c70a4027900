// clip.cpp - colours brought into the range that their matte leaves them.
#include <algorithm>
#include <cstring>

#include "ops/operator.h"
#include "ops/samples.h"

namespace zor {

namespace {

struct Clip {
    static constexpr Tag tag = Tag::clip;
    using Work = void (*)(const Clip &clip, void *const *rows);
    OperatorHead head;
    int32_t count = 0, offset = 0; // of the active part
    int32_t num_colours = 0;
    int32_t num_others = 0; // mattes and auxiliaries
    int32_t bottom = 0, top = 0;
    Work work = nullptr;

    void read(int y, void **&rows) const { clip(y, rows); }
    void **write(int y, void **rows) const {
        clip(y, rows);
        return rows;
    }
    void restore(ZOR_IMAGE & /*image*/) const {}

private:
    void clip(int y, void *const *rows) const {
        if (y >= bottom && y <= top)
            work(*this, rows);
    }
};

// How far a colour can move from its mean before a component leaves [margin, limit - margin].
double most_factor(double component, double mean, double limit, double margin) {
    if (component < margin)
        return (mean - margin) / (mean - component);
    if (component > limit - margin)
        return (limit - margin - mean) / (component - mean);
    return 1;
}

// Brings a colour into [0, limit] by moving it toward its grey; what is moved ends a hair inside.
template<class Sample>
void clip_colour(Sample &r, Sample &g, Sample &b, Sample limit) {
    if (r >= 0 && r <= limit && g >= 0 && g <= limit && b >= 0 && b <= limit)
        return;
    const double most = static_cast<double>(limit);
    const double red = static_cast<double>(r);
    const double green = static_cast<double>(g);
    const double blue = static_cast<double>(b);
    const double mean = (red + green + blue) * 0.333333;
    if (!(most > 0) || !(mean > 0)) { // and for NaN
        r = g = b = 0;
        return;
    }
    if (mean >= most) {
        r = g = b = limit;
        return;
    }
    const double margin = most * 0.0001;
    double factor = 1;
    for (const double component : {red, green, blue})
        factor = std::min(factor, most_factor(component, mean, most, margin));
    factor = std::max(factor, 0.0); // where the mean itself is that close to an end
    r = static_cast<Sample>(mean + factor * (red - mean));
    g = static_cast<Sample>(mean + factor * (green - mean));
    b = static_cast<Sample>(mean + factor * (blue - mean));
}

// Whether a run of colours can stay as it is, as most can.
template<class Sample>
bool all_inside(const Sample *r, const Sample *g, const Sample *b, const Sample *limits,
                int64_t start, int64_t end) {
    int outside = 0;
    for (int64_t x = start; x < end; ++x) {
        for (const Sample component : {r[x], g[x], b[x]})
            outside |=
                static_cast<int>(!(component >= 0)) | static_cast<int>(!(component <= limits[x]));
    }
    return outside == 0;
}

// The work on a row. Rgb: of three channels, which are clipped together.
template<class Sample, bool rgb, bool planar>
void clip_row(const Clip &clip, void *const *rows) {
    const Sample *limits = samples<Sample>(rows, clip.num_colours) + clip.offset;
    const int64_t stride = planar ? 1 : clip.num_colours;
    // First sample of a channel's active part.
    const auto channel = [&](int32_t k) {
        return planar ? samples<Sample>(rows, k) + clip.offset
                      : samples<Sample>(rows, 0) + clip.offset * stride + k;
    };
    if constexpr (rgb) {
        Sample *const r = channel(0);
        Sample *const g = channel(1);
        Sample *const b = channel(2);
        constexpr int64_t step = 64;
        for (int64_t start = 0; start < clip.count; start += step) {
            const int64_t end = std::min<int64_t>(start + step, clip.count);
            if (planar && all_inside(r, g, b, limits, start, end))
                continue;
            for (int64_t x = start; x < end; ++x)
                clip_colour(r[x * stride], g[x * stride], b[x * stride], limits[x]);
        }
    } else {
        for (int32_t k = 0; k < clip.num_colours; ++k) {
            Sample *const row = channel(k);
            for (int64_t x = 0; x < clip.count; ++x) {
                const Sample positive = row[x * stride] > 0 ? row[x * stride] : 0;
                const Sample limit = limits[x] > 0 ? limits[x] : 0;
                row[x * stride] = positive < limit ? positive : limit;
            }
        }
    }
}

template<class Sample>
constexpr Clip::Work workers[2][2] = {
    {&clip_row<Sample, false, false>, &clip_row<Sample, false, true>},
    {&clip_row<Sample, true, false>, &clip_row<Sample, true, true>}};

// By format, channel flag and type; null for others than these.
Clip::Work choose_work(const ZOR_IMAGE_DESC &desc) {
    if ((desc.chan_flag != 0 && desc.chan_flag != 1) || desc.image.type != desc.matte.type)
        return nullptr;
    const bool rgb = desc.chan_format != nullptr && std::strcmp(desc.chan_format, "rgb") == 0 &&
                     desc.image.count == 3;
    switch (desc.image.type) {
    case ZOR_C_FLOAT:
        return workers<float>[rgb ? 1 : 0][desc.chan_flag];
    case ZOR_C_DOUBLE:
        return workers<double>[rgb ? 1 : 0][desc.chan_flag];
    default:
        return nullptr;
    }
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__clip(ZOR_IMAGE *image) {
    using namespace zor;
    if (image == nullptr || image->num_images < 1)
        return image;
    const ZOR_IMAGE_DESC &desc = image->images[0];
    const Clip::Work work = choose_work(desc);
    if (desc.image.count < 1 || desc.matte.count < 1 || work == nullptr)
        return image;
    RecordPtr<Clip> record = new_record<Clip>();
    if (record == nullptr)
        return image;
    const ActivePart part = active_part(desc);
    record->count = part.count;
    record->offset = part.offset;
    record->num_colours = desc.image.count;
    record->num_others = desc.matte.count + desc.aux.count;
    record->bottom = part.bottom;
    record->top = part.top;
    record->work = work;
    return install(image, std::move(record));
}

int ZOR__clip_undo(ZOR_IMAGE *image) { return zor::undo<zor::Clip>(image); }
