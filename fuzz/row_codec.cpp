// row_codec.cpp - the row codec stays within its buffers on any data, and gives back what it coded.
//
// The first byte of an input chooses the kind of samples, the next two their number.
#include <iterator>

#include "drivers/mox/row_codec_check.h"
#include "watch.h"

using namespace row_codec_check;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 4)
        return 0;
    const Kind &kind = kinds[data[0] % std::size(kinds)];
    const auto count = static_cast<size_t>((data[1] << 8 | data[2]) % 32768 + 1);
    const Bytes rest(data + 3, data + size);
    check(decodes_alike({rest}, count, kind));
    check(decodes_alike({rest}, count % 100 + 1, kind));
    for (size_t n = 2; n <= zor::mox::most_rows; ++n) { // records of equal size
        std::vector<Bytes> records;
        for (size_t i = 0; i < n; ++i)
            records.emplace_back(data + 3 + rest.size() / n * i,
                                 data + 3 + rest.size() / n * (i + 1));
        check(decodes_alike(records, count % 300 + 1, kind));
    }
    const size_t whole = rest.size() / kind.size() * kind.size();
    if (whole > 0) // every row has a sample
        check(codes_alike(Bytes(data + 3, data + 3 + whole), kind));
    return 0;
}
