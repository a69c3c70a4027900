// sample_curves.cpp - rows of samples of any type as light, and light as bytes.
#include "ops/sample_curves.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "ops/samples.h"

namespace zor {

namespace {

template<class Sample>
void look_up(const LightDecoder & /*decoder*/, float *to, const void *from, int32_t width,
             const float *table) {
    const auto *samples = static_cast<const Sample *>(from);
    for (int32_t x = 0; x < width; ++x)
        to[x] = table[samples[x]];
}

template<class Sample>
void divide(const LightDecoder &decoder, float *to, const void *from, int32_t width,
            const float * /*table*/) {
    const auto *samples = static_cast<const Sample *>(from);
    for (int32_t x = 0; x < width; ++x)
        to[x] = static_cast<float>(static_cast<double>(samples[x]) * decoder.scale);
}

// Negative values, which have no power, become 0.
template<class Sample>
void raise(const LightDecoder &decoder, float *to, const void *from, int32_t width,
           const float * /*table*/) {
    const auto *samples = static_cast<const Sample *>(from);
    for (int32_t x = 0; x < width; ++x) {
        const double value = static_cast<double>(samples[x]) * decoder.scale;
        to[x] = static_cast<float>(value < 0 ? 0 : std::pow(value, decoder.gamma));
    }
}

// Whether tables can be read for so many channels.
bool has_tables(const ZOR_RESPONSE_CURVE &curve, int32_t num_channels) {
    return curve.tables != nullptr && curve.num_elements >= 2 &&
           (curve.num_channels == 1 || curve.num_channels >= num_channels);
}

// Entries of 8 bits and fewer are bytes.
bool is_decoding(const ZOR_RESPONSE_CURVE &curve) {
    return curve.type == ZOR_C_FLOAT ||
           (curve.type == ZOR_C_INTEGER && curve.depth >= 1 && curve.depth <= 16);
}

// An entry as a fraction.
double entry_of(const ZOR_RESPONSE_CURVE &curve, int32_t channel, int32_t i) {
    const void *table = curve.tables[channel];
    if (curve.type == ZOR_C_FLOAT)
        return static_cast<double>(static_cast<const float *>(table)[i]);
    const double top = max_value[static_cast<size_t>(curve.depth)];
    return (curve.depth <= 8 ? static_cast<const uint8_t *>(table)[i]
                             : static_cast<const uint16_t *>(table)[i]) /
           top;
}

Prepared tabulate(LightDecoder *decoder, const ZOR_IMAGE_DESC &desc) {
    const bool bytes = desc.image.bits <= 8;
    const auto top = static_cast<int32_t>(max_value[static_cast<size_t>(desc.image.bits)]);
    const bool curved = bytes && desc.curve.kind == 2;
    if (curved && (!has_tables(desc.curve, desc.image.count) || !is_decoding(desc.curve) ||
                   desc.curve.num_elements <= top))
        return Prepared::unfit;
    decoder->num_tables = curved && desc.curve.num_channels > 1 ? desc.image.count : 1;
    decoder->num_entries = bytes ? 256 : 65536;
    decoder->tables.reset(allocate<float>(int64_t{decoder->num_tables} * decoder->num_entries));
    float *entry = decoder->tables.get();
    if (entry == nullptr)
        return Prepared::no_memory;
    for (int32_t k = 0; k < decoder->num_tables; ++k)
        for (int32_t i = 0; i < decoder->num_entries; ++i) {
            const int32_t value = std::min(i, top); // whatever stands in the spare bits
            *entry++ = static_cast<float>(curved ? entry_of(desc.curve, k, value)
                                                 : std::pow(value * (1.0 / top), decoder->gamma));
        }
    return Prepared::good;
}

} // namespace

Prepared LightDecoder::prepare(const ZOR_IMAGE_DESC &desc) {
    gamma = desc.curve.kind == 1 ? static_cast<double>(desc.curve.gamma) : 1.0;
    const bool linear = gamma == 1;
    const int32_t bits = is_integer(desc.image) ? desc.image.bits : 64;
    const bool by_table = bits <= 8 || (bits <= 16 && !linear);
    row = choose_by_sample(desc.image, [&]<class Sample>(Sample) -> Row {
        if constexpr (std::is_integral_v<Sample> && sizeof(Sample) <= 2) {
            if (by_table)
                return &look_up<Sample>;
        }
        return linear ? &divide<Sample> : &raise<Sample>;
    });
    if (row == nullptr)
        return Prepared::unfit;
    if (by_table)
        return tabulate(this, desc);
    if (bits <= 32)
        scale = 1.0 / max_value[static_cast<size_t>(bits)];
    return Prepared::good;
}

Prepared ByteEncoder::prepare(const ZOR_RESPONSE_CURVE &curve, int32_t num_channels) {
    if (curve.kind == 2) {
        if (!has_tables(curve, num_channels) || curve.type != ZOR_C_INTEGER || curve.depth != 8)
            return Prepared::unfit;
        num_tables = curve.num_channels > 1 ? num_channels : 1;
        num_entries = curve.num_elements;
        tables.reset(allocate<uint8_t>(int64_t{num_tables} * num_entries));
        if (tables == nullptr)
            return Prepared::no_memory;
        for (int32_t k = 0; k < num_tables; ++k)
            std::copy_n(static_cast<const uint8_t *>(curve.tables[k]), num_entries,
                        tables.get() + int64_t{num_entries} * k);
        return Prepared::good;
    }
    const auto gamma = static_cast<double>(curve.gamma);
    if (curve.kind != 1 || !std::isfinite(gamma) || gamma <= 0)
        return Prepared::unfit;
    bounds.reset(allocate<float>(257));
    starts.reset(allocate<uint8_t>(num_cells + 1));
    if (bounds == nullptr || starts == nullptr)
        return Prepared::no_memory;
    bounds.get()[0] = 0;
    for (int32_t b = 1; b < 256; ++b)
        bounds.get()[b] = static_cast<float>(std::pow((b - 0.5) / 255, gamma));
    bounds.get()[256] = std::numeric_limits<float>::infinity();
    int32_t byte = 0;
    for (int32_t cell = 0; cell <= num_cells; ++cell) {
        while (static_cast<float>(cell) / num_cells >= bounds.get()[byte + 1])
            ++byte;
        starts.get()[cell] = static_cast<uint8_t>(byte);
    }
    return Prepared::good;
}

void ByteEncoder::encode(uint8_t *to, const float *light, int32_t width, int32_t channel) const {
    const auto clamped = [](float value) { return value > 0 ? std::min(value, 1.0F) : 0.0F; };
    if (tables != nullptr) {
        const uint8_t *table = tables.get() + int64_t{num_entries} * (channel % num_tables);
        for (int32_t x = 0; x < width; ++x) {
            const double place = static_cast<double>(clamped(light[x])) * (num_entries - 1);
            to[x] = table[static_cast<int32_t>(place + 0.5)];
        }
        return;
    }
    for (int32_t x = 0; x < width; ++x) {
        const float value = clamped(light[x]);
        int32_t byte = starts.get()[static_cast<int32_t>(value * num_cells)];
        while (value >= bounds.get()[byte + 1])
            ++byte;
        to[x] = static_cast<uint8_t>(byte);
    }
}

} // namespace zor
