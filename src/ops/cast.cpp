// cast.cpp - all channels as 32-bit floats.
#include <array>

#include "ops/operator.h"
#include "ops/row_kernels.h"
#include "ops/samples.h"

namespace zor {

namespace {

// Converts one row.
//   scale  1 / the largest value of a sample
using Convert = RowKernels::ToFloats;

void divide_words(float *to, const void *from, int32_t width, double scale) {
    const auto *samples = static_cast<const uint32_t *>(from);
    for (int32_t x = 0; x < width; ++x)
        to[x] = static_cast<float>(static_cast<double>(samples[x]) * scale);
}

void narrow(float *to, const void *from, int32_t width, double /*scale*/) {
    const auto *samples = static_cast<const double *>(from);
    for (int32_t x = 0; x < width; ++x)
        to[x] = static_cast<float>(samples[x]);
}

struct FreeGammaTable {
    void operator()(float *table) const { ZOR_gamma_done(table); }
};

struct Cast {
    static constexpr Tag tag = Tag::cast;
    OperatorHead head;
    float gamma = 0;
    std::array<ZOR_CHANNELS, num_groups> groups = {};
    int32_t width = 0;
    std::array<Convert, num_groups> convert = {}; // null: floats, or no channels
    std::unique_ptr<float, FreeGammaTable> table; // for colours that are bytes; null: convert
    Channels floats;
    const RowKernels *kernels = &row_kernels();
    Owned<void *> handed_out; // rows of floats, and of the layer below where those are floats

    void read(int y, void **&rows) const;
    void restore(ZOR_IMAGE &image) const {
        image.images[0].curve.gamma = gamma;
        put_groups(image.images[0], groups);
    }
};

void Cast::read(int /*y*/, void **&rows) const {
    int32_t first = 0;
    for (size_t g = 0; g < num_groups; ++g) {
        const int32_t last = first + groups[g].count - 1;
        const double scale = is_integer(groups[g]) && convert[g] != nullptr
                                 ? 1.0 / max_value[static_cast<size_t>(groups[g].bits)]
                                 : 1.0;
        for (int32_t k = last; k >= first; --k) {
            if (g == COLOUR && table != nullptr)
                kernels->look_up_floats(samples<float>(floats.get(), k), rows[k], width,
                                        table.get());
            else if (convert[g] != nullptr)
                convert[g](samples<float>(floats.get(), k), rows[k], width, scale);
            handed_out.get()[k] = convert[g] != nullptr ? floats.get()[k] : rows[k];
        }
        first = last + 1;
    }
    rows = handed_out.get();
}

// How a group's samples become floats; null for groups that are left as they are.
Convert choose_convert(const ZOR_CHANNELS &group) {
    if (group.count < 1 || group.type == ZOR_C_FLOAT)
        return nullptr;
    if (group.type == ZOR_C_DOUBLE)
        return &narrow;
    return choose_by_sample(group, []<class Sample>(Sample) -> Convert {
        if constexpr (sizeof(Sample) == 1)
            return row_kernels().bytes_to_floats;
        else if constexpr (sizeof(Sample) == 2)
            return row_kernels().words_to_floats;
        else
            return &divide_words;
    });
}

// Whether every group is of floats or has samples that can be told from its type and bits. Channels
// that share a row are nobody's but their driver's.
bool is_castable(const ZOR_IMAGE_DESC &desc) {
    const auto groups = copy_groups(desc);
    return desc.chan_flag == 1 &&
           std::all_of(groups.begin(), groups.end(), [](const ZOR_CHANNELS &group) {
               return group.count < 1 || group.type == ZOR_C_FLOAT ||
                      choose_convert(group) != nullptr;
           });
}

// Chooses the rows' converters; false when memory ran out.
bool prepare(Cast &cast, const ZOR_IMAGE_DESC &desc) {
    for (size_t g = 0; g < num_groups; ++g)
        cast.convert[g] = choose_convert(cast.groups[g]);
    // Wider colours keep the values they have, although the gamma becomes 1 for them too.
    if (cast.convert[COLOUR] != nullptr && is_integer(desc.image) && desc.image.bits == 8 &&
        desc.curve.gamma != 1.0F) {
        cast.table.reset(ZOR_gamma_btof(static_cast<double>(desc.curve.gamma)));
        if (cast.table == nullptr)
            return false;
    }
    const int64_t num_channels =
        int64_t{desc.image.count} + int64_t{desc.matte.count} + int64_t{desc.aux.count};
    cast.handed_out.reset(allocate<void *>(num_channels + 1));
    if (cast.handed_out != nullptr)
        cast.handed_out.get()[num_channels] = nullptr;
    return cast.handed_out != nullptr;
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__cast(ZOR_IMAGE *image) {
    using namespace zor;
    if (image == nullptr || image->num_images < 1 || !reads(*image))
        return image;
    ZOR_IMAGE_DESC &desc = image->images[0];
    const auto groups = groups_of(desc);
    if (std::all_of(groups.begin(), groups.end(),
                    [](const ZOR_CHANNELS *group) { return group->type == ZOR_C_FLOAT; }))
        return image;
    if (!is_castable(desc)) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, "cast operator");
        return image;
    }
    RecordPtr<Cast> record = new_record<Cast>();
    if (record == nullptr)
        return image;
    record->gamma = desc.curve.gamma;
    record->groups = copy_groups(desc);
    record->width = row_width(desc);
    if (!prepare(*record, desc)) {
        set_status(ZOR_E_MEMORY);
        return image;
    }
    desc.curve.gamma = 1.0F;
    for (ZOR_CHANNELS *group : groups) {
        group->type = ZOR_C_FLOAT;
        group->bits = 32;
    }
    record->floats.reset(zor__chan_alloc(&desc, record->width, "cast operator"));
    if (record->floats == nullptr)
        return image; // with the description as it is now: callers have come to know that
    return install(image, std::move(record));
}

int ZOR__cast_undo(ZOR_IMAGE *image) { return zor::undo<zor::Cast>(image); }
