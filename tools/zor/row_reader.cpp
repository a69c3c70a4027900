// row_reader.cpp - reading rows in order, or all of them first.
#include "row_reader.h"

#include <cstring>
#include <new>
#include <numeric>
#include <utility>

#include "interrupt.h"

namespace zor {

RowReader::RowReader(ZOR_IMAGE *image, std::string name, bool any_order, Reports &reports)
    : image_(image),
      name_(std::move(name)),
      any_order_(any_order),
      reports_(reports),
      desc_(*ZOR_image_desc(image, 0)) {
    const int32_t count = desc_.image.count + desc_.matte.count + desc_.aux.count;
    std::vector<int32_t> all(static_cast<size_t>(count));
    std::iota(all.begin(), all.end(), 0);
    choose(all);
}

void RowReader::choose(const std::vector<int32_t> &channels) {
    channels_ = channels;
    rows_.assign(channels.size() + 1, nullptr);
}

const ZOR_CHANNELS &RowReader::group(int32_t channel) const {
    if (channel < desc_.image.count)
        return desc_.image;
    return channel < desc_.image.count + desc_.matte.count ? desc_.matte : desc_.aux;
}

size_t RowReader::row_bytes(int32_t channel) const {
    const int64_t size = ZOR_sample_size(group(channel).type, group(channel).bits);
    return static_cast<size_t>(width() * size);
}

bool RowReader::scan(int64_t row) {
    reports_.about(name_);
    void **rows = nullptr;
    const auto y = static_cast<int32_t>(desc_.win_bottom + row);
    if (const int status = ZOR_scan_read(image_, y, &rows); status != 0)
        return reports_.explain(status), false;
    for (size_t k = 0; k < channels_.size(); ++k)
        rows_[k] = rows[channels_[k]];
    return true;
}

bool RowReader::hold() {
    size_t line = 0;
    for (const int32_t channel : channels_) {
        offsets_.push_back(line);
        line += (row_bytes(channel) + 7) / 8 * 8; // so that the next row is aligned
    }
    if (line > 0 && static_cast<uint64_t>(height()) > SIZE_MAX / 2 / line)
        throw std::bad_alloc();
    const size_t size = line * static_cast<size_t>(height());
    Picture picture = {std::make_unique_for_overwrite<unsigned char[]>(size), line};
    for (int64_t step = 0; step < height(); ++step) {
        const int64_t row = rises() ? step : height() - 1 - step;
        if (interrupted() || !scan(row))
            return false;
        for (size_t k = 0; k < channels_.size(); ++k)
            std::memcpy(picture.at(row, offsets_[k]), rows_[k], row_bytes(channels_[k]));
    }
    picture_ = std::move(picture);
    return true;
}

bool RowReader::start(bool rising) { return any_order_ || rising == rises() || hold(); }

void **RowReader::read(int64_t row) {
    if (held() == nullptr)
        return scan(row) ? rows_.data() : nullptr;
    for (size_t k = 0; k < channels_.size(); ++k)
        rows_[k] = picture_.at(row, offsets_[k]);
    return rows_.data();
}

} // namespace zor
