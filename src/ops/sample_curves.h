// sample_curves.h - rows of samples of any type as light, and light as bytes.
#pragma once

#include <cstdint>

#include "base/base/owned.h"
#include "zor/curve.h"

namespace zor {

enum class Prepared { good, unfit, no_memory };

// Turns rows of an image's colours into light: integers of up to 8 bits through its response curve,
// others, divided by their largest value, through the curve's gamma if it is a power function.
struct LightDecoder {
    using Row = void (*)(const LightDecoder &decoder, float *to, const void *from, int32_t width,
                         const float *table);
    Row row = nullptr;
    double scale = 1; // of integers without a table
    double gamma = 1;
    Owned<float> tables;    // an entry for every value that a sample's storage can have
    int32_t num_tables = 0; // one for each channel, or one for all
    int32_t num_entries = 0;

    // Unfit are curves without an entry for every sample, or that are no curves, and samples that
    // cannot be held.
    Prepared prepare(const ZOR_IMAGE_DESC &desc);

    void decode(float *to, const void *from, int32_t width, int32_t channel) const {
        row(*this, to, from, width,
            tables != nullptr ? tables.get() + int64_t{num_entries} * (channel % num_tables)
                              : nullptr);
    }
};

// Turns light, clamped to [0, 1], into bytes of a response curve; NaN gives what 0 does.
struct ByteEncoder {
    // A power function: light from bounds[b] on gives at least byte b. Each of the cells of equal
    // size that light is divided into tells the byte at its start.
    static constexpr int32_t num_cells = 4096;
    Owned<float> bounds; // 257, the last one infinite; null: tables
    Owned<uint8_t> starts;

    Owned<uint8_t> tables;
    int32_t num_tables = 0; // one for each channel, or one for all
    int32_t num_entries = 0;

    // Unfit are tables that do not hold bytes or are fewer than the channels, and gammas that are
    // not positive.
    Prepared prepare(const ZOR_RESPONSE_CURVE &curve, int32_t num_channels);

    void encode(uint8_t *to, const float *light, int32_t width, int32_t channel) const;
};

} // namespace zor
