// row_codec.h - how the rows of one channel become the data of a record, and back.
//
// Integer samples are split into byte planes, most significant plane first, each coded on its own
// as a stream of packets: a control byte c of 0 or more is followed by one byte that stands for
// c + 1 equal samples, a negative one by -c samples as they are. Float samples are stored raw,
// little endian.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/base/processor.h"

namespace zor::mox {

// Decoders may read this far past the end of a record and write this far past the end of a row;
// encoders may write this far past their result. It lets them move whole vectors.
constexpr size_t codec_slack = 64;

// A record and the row it is for. Rows that are decoded together lie codec_slack bytes apart.
struct EncodedRow {
    const uint8_t *data;
    size_t size;
    void *samples;
};
constexpr int most_rows = 3; // that are decoded together

// The coding of one kind of channel: a table of functions, of which there are several versions.
struct RowCodec {
    int32_t sample_size; // bytes in memory: 1, 2, 4 or 8

    // Writes count samples as record data. out has room for max_encoded(count) bytes and the slack.
    // Returns the bytes written.
    size_t (*encode)(const void *samples, int32_t count, uint8_t *out);

    // Reads count samples of each of some rows, at most most_rows. Together they take less time
    // than one after the other. Bytes left over in a record are ignored. Returns false when one of
    // them does not give exactly count samples, plane by plane; the samples of all are undefined
    // then.
    bool (*decode)(const EncodedRow *rows, int num_rows, int32_t count);

    // Most bytes that count samples can take.
    size_t (*max_encoded)(int32_t count);
};

// The coding for a channel type (ZOR_C_...) and width, as fast as the processor allows; null for a
// combination that does not exist.
const RowCodec *row_codec(int32_t type, int32_t bits);

using zor::Vectors; // of the versions there are

// The same in a certain version; null also where the build or the processor does not have it. All
// of them give the same bytes and refuse the same records.
const RowCodec *row_codec(int32_t type, int32_t bits, Vectors vectors);

} // namespace zor::mox
