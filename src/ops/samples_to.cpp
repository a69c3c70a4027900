// samples_to.cpp - colours that are spectral samples, as colours of a display, luminance, rgb or
// X, Y, Z.
//
// The four operators are one, with different weights: new channel k is the sum of weights(k, j)
// times the light of sample j. Two of them encode the sums as bytes.
#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "ops/color_matrix.h"
#include "ops/operator.h"
#include "ops/sample_curves.h"
#include "ops/samples.h"
#include "zor/clr.h"
#include "zor/str.h"

namespace zor {

namespace {

struct SampleTransform {
    OperatorHead head;
    ZOR_CHANNELS group = {};
    ZOR_RESPONSE_CURVE curve = {};
    char *chan_format = nullptr; // the description's, when it got the one below
    Owned<char> new_format;

    int32_t width = 0;
    int32_t num_old = 0; // samples that are looked at
    int32_t num_new = 0;
    int32_t num_others = 0; // mattes and auxiliaries
    Owned<float> weights;   // num_old for each new channel
    LightDecoder decoder;
    ByteEncoder encoder;
    bool to_bytes = false;
    Owned<float> light; // of one row of samples, and behind it those of the sums, unless they are
                        // what is wanted
    Channels made;
    Owned<void *> handed_out; // the new rows, and mattes and auxiliaries as they come

    [[nodiscard]] float *sum(int32_t k) const {
        return to_bytes ? light.get() + int64_t{width} * (k + 1) : samples<float>(made.get(), k);
    }
    void read(int y, void **&rows) const;
    void restore(ZOR_IMAGE &image) const {
        ZOR_IMAGE_DESC &desc = image.images[0];
        desc.image = group;
        desc.curve = curve;
        if (new_format != nullptr)
            desc.chan_format = chan_format;
    }
};

template<Tag which>
struct Samples : SampleTransform {
    static constexpr Tag tag = which;
};

void add(float *sums, const float *light, float weight, int32_t width) {
    for (int32_t x = 0; x < width; ++x)
        sums[x] += weight * light[x];
}

void SampleTransform::read(int /*y*/, void **&rows) const {
    for (int32_t k = 0; k < num_new; ++k)
        std::fill_n(sum(k), width, 0.0F);
    for (int32_t j = 0; j < num_old; ++j) {
        decoder.decode(light.get(), rows[j], width, j);
        for (int32_t k = 0; k < num_new; ++k)
            if (const float weight = weights.get()[k * int64_t{num_old} + j]; weight != 0)
                add(sum(k), light.get(), weight, width);
    }
    for (int32_t k = 0; k < num_new && to_bytes; ++k)
        encoder.encode(samples<uint8_t>(made.get(), k), sum(k), width, k);
    std::copy_n(rows + group.count, num_others, handed_out.get() + num_new);
    rows = handed_out.get();
}

// What is wanted of the samples.
struct Wanted {
    const char *name;                // for messages
    bool raw;                        // not spectral: channels as they are
    int32_t num_channels;            // of the result
    const ZOR_RESPONSE_CURVE *curve; // null: floats
    const char *chan_format;
    // What makes the result of X, Y, Z, and the matrices for that; null where it asks for none.
    bool (*mix)(const ZOR_IMAGE &image, const ColorMatrices *set, Matrix *mix);
    const ColorMatrices *matrices = nullptr;
};

// Weights of channels without a colour meaning: one goes to all three, two leave the third black.
void weigh_raw(SampleTransform *record) {
    for (int32_t k = 0; k < record->num_new; ++k)
        for (int32_t j = 0; j < record->num_old; ++j)
            record->weights.get()[k * record->num_old + j] =
                record->num_old == 1 || j == k ? 1.0F : 0.0F;
}

// Weights of the samples in X, Y, Z, where samples of 1 are to be white, and of these in what is
// wanted.
void weigh_samples(SampleTransform *record, const CLR_SAMPLES &space, const Triple &white,
                   const Matrix &mix) {
    Triple sums = {};
    for (int32_t j = 0; j < space.n; ++j)
        for (size_t c = 0; c < 3; ++c)
            sums[c] += static_cast<double>(space.to_xyz[3 * static_cast<size_t>(j) + c]);
    for (int32_t j = 0; j < space.n; ++j) {
        Triple xyz = {};
        for (size_t c = 0; c < 3; ++c)
            if (sums[c] != 0) // a space outside the visible range gives nothing
                xyz[c] = white[c] *
                         static_cast<double>(space.to_xyz[3 * static_cast<size_t>(j) + c]) /
                         sums[c];
        const Triple result = transform(xyz, mix);
        for (int32_t k = 0; k < record->num_new; ++k)
            record->weights.get()[k * int64_t{space.n} + j] =
                static_cast<float>(result[static_cast<size_t>(k)]);
    }
}

bool allocate_rows(SampleTransform *record, const ZOR_IMAGE_DESC &desc, const char *name) {
    ZOR_IMAGE_DESC own = desc; // the new channels alone
    own.matte.count = 0;
    own.aux.count = 0;
    const int64_t num_rows = record->to_bytes ? record->num_new + 1 : 1;
    const int64_t num_pointers = int64_t{record->num_new} + record->num_others;
    record->light.reset(allocate<float>(num_rows * record->width));
    record->made.reset(zor__chan_alloc(&own, record->width, name));
    record->handed_out.reset(allocate<void *>(num_pointers + 1));
    if (record->light == nullptr || record->made == nullptr || record->handed_out == nullptr)
        return false;
    std::copy_n(record->made.get(), record->num_new, record->handed_out.get());
    record->handed_out.get()[num_pointers] = nullptr;
    return true;
}

// Fills in the record; the description is the one that the image will have.
Prepared prepare(SampleTransform *record, const ZOR_IMAGE &image, const ZOR_IMAGE_DESC &desc,
                 const Wanted &wanted) {
    const ZOR_IMAGE_DESC &old = image.images[0];
    record->group = old.image;
    record->curve = old.curve;
    record->chan_format = old.chan_format;
    record->width = row_width(old);
    record->num_old = wanted.raw ? std::min(old.image.count, 3) : old.image.count;
    record->num_new = wanted.num_channels;
    record->num_others = old.matte.count + old.aux.count;
    record->to_bytes = wanted.curve != nullptr;
    Prepared result = record->decoder.prepare(old);
    if (result == Prepared::good && record->to_bytes)
        result = record->encoder.prepare(*wanted.curve, wanted.num_channels);
    if (result != Prepared::good)
        return result;
    record->weights.reset(allocate<float>(int64_t{record->num_old} * record->num_new));
    if (record->weights == nullptr || !allocate_rows(record, desc, wanted.name))
        return Prepared::no_memory;
    if (wanted.raw) {
        weigh_raw(record);
        return Prepared::good;
    }
    record->new_format.reset(STR_save(wanted.chan_format));
    if (record->new_format == nullptr)
        return Prepared::no_memory;
    // Without a lock, for it reports where the application has ended the database. Otherwise that
    // does not change while there are images.
    const CLR_SAMPLES *space = CLR_find(record->num_old);
    Triple white;
    Matrix mix;
    if (space == nullptr || !white_point(image.primaries, &white) ||
        !wanted.mix(image, wanted.matrices, &mix))
        return Prepared::unfit;
    weigh_samples(record, *space, white, mix);
    return Prepared::good;
}

// The description after the transform, apart from its texts.
ZOR_IMAGE_DESC describe(const ZOR_IMAGE_DESC &old, const Wanted &wanted) {
    ZOR_IMAGE_DESC desc = old;
    desc.image = wanted.curve != nullptr ? ZOR_CHANNELS{wanted.num_channels, ZOR_C_INTEGER, 8}
                                         : ZOR_CHANNELS{wanted.num_channels, ZOR_C_FLOAT, 32};
    if (wanted.curve == nullptr)
        desc.curve = {1, 1.0F, 0, 0, 0, 0, 0, nullptr};
    else if (wanted.curve->kind == 1) // tables go from light to bytes, those here the other way
        desc.curve = {1, wanted.curve->gamma, 0, 0, 0, 0, 0, nullptr};
    return desc;
}

template<class Record>
ZOR_IMAGE *push(ZOR_IMAGE *image, const Wanted &wanted) {
    RecordPtr<Record> record = new_record<Record>();
    if (record == nullptr)
        return image;
    ZOR_IMAGE_DESC desc = describe(image->images[0], wanted);
    const Prepared result = prepare(record.get(), *image, desc, wanted);
    if (result == Prepared::no_memory)
        set_status(ZOR_E_MEMORY);
    if (result != Prepared::good)
        return image;
    if (record->new_format != nullptr)
        desc.chan_format = record->new_format.get();
    image->images[0] = desc;
    return install(image, std::move(record));
}

// Whether an image may have samples; reports one that is none.
bool can_have_samples(const ZOR_IMAGE *image, const char *name) {
    if (image == nullptr || !reads(*image))
        return false;
    if (image->num_images < 1) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MULTIPLE_IMAGES, name);
        return false;
    }
    const ZOR_IMAGE_DESC &desc = image->images[0];
    return desc.chan_flag == 1 && desc.chan_format != nullptr && desc.image.count >= 1;
}

bool has_format(const ZOR_IMAGE &image, std::string_view format) {
    return image.images[0].chan_format == format;
}

bool as_is(const ZOR_IMAGE & /*image*/, const ColorMatrices * /*set*/, Matrix *mix) {
    *mix = identity_matrix;
    return true;
}
bool to_colour_matrices(const ZOR_IMAGE & /*image*/, const ColorMatrices *set, Matrix *mix) {
    *mix = set->from_xyz;
    return true;
}
bool to_own_primaries(const ZOR_IMAGE &image, const ColorMatrices * /*set*/, Matrix *mix) {
    Matrix to_xyz;
    return rgb_to_xyz(image.primaries, &to_xyz) && invert(to_xyz, mix);
}
// Y comes first.
bool to_luminance(const ZOR_IMAGE & /*image*/, const ColorMatrices * /*set*/, Matrix *mix) {
    *mix = {0, 1, 0, 1, 0, 0, 0, 0, 1};
    return true;
}

using ToDisplay = Samples<Tag::samples_to_display>;
using ToLuminance = Samples<Tag::samples_to_luminance>;
using ToRgb = Samples<Tag::samples_to_rgb>;
using ToXyz = Samples<Tag::samples_to_xyz>;

constexpr const char *transform_name = "color sample transform operator";
constexpr const char *to_rgb_name = "color sample to rgb transform operator";
constexpr const char *to_xyz_name = "color sample to xyz transform operator";

} // namespace

ZOR_IMAGE *push_samples_to_display(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve,
                                   const ColorMatrices &matrices) {
    if (!can_have_samples(image, transform_name) || curve == nullptr)
        return image;
    const bool raw = has_format(*image, "raw");
    if (!raw && !has_format(*image, "sampled"))
        return image;
    return push<ToDisplay>(image,
                           {transform_name, raw, 3, curve, "rgb", &to_colour_matrices, &matrices});
}

} // namespace zor

ZOR_IMAGE *ZOR__samples_to_display(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve) {
    return zor::push_samples_to_display(image, curve, zor::color_matrices());
}
int ZOR__samples_to_display_undo(ZOR_IMAGE *image) { return zor::undo<zor::ToDisplay>(image); }

ZOR_IMAGE *ZOR__samples_to_luminance(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve) {
    using namespace zor;
    if (!can_have_samples(image, transform_name) || curve == nullptr ||
        !has_format(*image, "sampled"))
        return image;
    return push<ToLuminance>(image, {transform_name, false, 1, curve, "rgb", &to_luminance});
}
int ZOR__samples_to_luminance_undo(ZOR_IMAGE *image) { return zor::undo<zor::ToLuminance>(image); }

ZOR_IMAGE *ZOR__samples_to_rgb(ZOR_IMAGE *image) {
    using namespace zor;
    if (!can_have_samples(image, to_rgb_name) || !has_format(*image, "sampled"))
        return image;
    return push<ToRgb>(image, {to_rgb_name, false, 3, nullptr, "rgb", &to_own_primaries});
}
int ZOR__samples_to_rgb_undo(ZOR_IMAGE *image) { return zor::undo<zor::ToRgb>(image); }

ZOR_IMAGE *ZOR__samples_to_xyz(ZOR_IMAGE *image) {
    using namespace zor;
    if (!can_have_samples(image, to_xyz_name) || !has_format(*image, "sampled"))
        return image;
    return push<ToXyz>(image, {to_xyz_name, false, 3, nullptr, "xyz", &as_is});
}
int ZOR__samples_to_xyz_undo(ZOR_IMAGE *image) { return zor::undo<zor::ToXyz>(image); }
