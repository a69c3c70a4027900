// row_reader.cpp - reading rows in order, or all of them first.
#include "row_reader.h"

#include <cstring>
#include <new>
#include <utility>

namespace zor {

RowReader::RowReader(ZOR_IMAGE *image, std::string name, bool any_order, Reports &reports)
    : image_(image),
      name_(std::move(name)),
      any_order_(any_order),
      reports_(reports),
      desc_(*ZOR_image_desc(image, 0)) {}

const ZOR_CHANNELS &RowReader::group(int32_t channel) const {
    if (channel < desc_.image.count)
        return desc_.image;
    return channel < desc_.image.count + desc_.matte.count ? desc_.matte : desc_.aux;
}

void *const *RowReader::scan(int64_t row) {
    reports_.about(name_);
    void **rows = nullptr;
    const auto y = static_cast<int32_t>(desc_.win_bottom + row);
    if (const int status = ZOR_scan_read(image_, y, &rows); status != 0)
        return reports_.explain(status), nullptr;
    return rows;
}

size_t RowReader::sample_bytes(int32_t channel) const {
    const int64_t size = ZOR_sample_size(group(channel).type, group(channel).bits);
    return static_cast<size_t>(width() * size);
}

bool RowReader::start(bool rising) {
    if (any_order_ || rising == rises())
        return true;
    size_t line = 0;
    for (int32_t k = 0; k < num_channels(); ++k)
        line += row_bytes(k);
    if (line > 0 && static_cast<uint64_t>(height()) > SIZE_MAX / 2 / line)
        throw std::bad_alloc();
    // Touched as rows arrive: many files claim more than they hold.
    picture_ =
        std::make_unique_for_overwrite<unsigned char[]>(line * static_cast<size_t>(height()));
    line_ = line;
    rows_.resize(static_cast<size_t>(num_channels()));
    for (int64_t step = 0; step < height(); ++step) {
        const int64_t row = rises() ? step : height() - 1 - step;
        void *const *from = scan(row);
        if (from == nullptr)
            return false;
        unsigned char *to = picture_.get() + line * static_cast<size_t>(row);
        for (int32_t k = 0; k < num_channels(); to += row_bytes(k++))
            std::memcpy(to, from[k], sample_bytes(k));
    }
    return true;
}

void *const *RowReader::read(int64_t row) {
    if (rows_.empty())
        return scan(row);
    unsigned char *from = picture_.get() + line_ * static_cast<size_t>(row);
    for (int32_t k = 0; k < num_channels(); from += row_bytes(k++))
        rows_[static_cast<size_t>(k)] = from;
    return rows_.data();
}

} // namespace zor
