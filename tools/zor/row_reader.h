// row_reader.h - the rows of an open image in the order in which they are wanted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <zor/zor.h>

#include "reports.h"

namespace zor {

// Rows come straight from the file where its order allows that; else the picture is held in memory.
// Of the first image, in the types that it has.
class RowReader {
public:
    //   name       for messages
    //   any_order  the file can be read in any order
    RowReader(ZOR_IMAGE *image, std::string name, bool any_order, Reports &reports);

    [[nodiscard]] const ZOR_IMAGE_DESC &desc() const { return desc_; }
    [[nodiscard]] int64_t width() const { return int64_t{desc_.win_right} - desc_.win_left + 1; }
    [[nodiscard]] int64_t height() const { return int64_t{desc_.win_top} - desc_.win_bottom + 1; }
    [[nodiscard]] bool rises() const { return (desc_.orientation & ZOR_ORIENTATION_RISING) != 0; }
    [[nodiscard]] int32_t num_channels() const {
        return desc_.image.count + desc_.matte.count + desc_.aux.count;
    }
    // The group that a channel belongs to.
    [[nodiscard]] const ZOR_CHANNELS &group(int32_t channel) const;

    // To be called once, before rows are read. Returns false after a report.
    //   rising  whether they will be read from the bottom up; else from the top down
    bool start(bool rising);

    // A row, counted from the bottom, 0; one pointer for each channel. Null after a report.
    void *const *read(int64_t row);

private:
    void *const *scan(int64_t row);
    [[nodiscard]] size_t sample_bytes(int32_t channel) const; // of a row
    // Rounded up so that the next row is aligned.
    [[nodiscard]] size_t row_bytes(int32_t channel) const {
        return (sample_bytes(channel) + 7) / 8 * 8;
    }

    ZOR_IMAGE *image_;
    std::string name_;
    bool any_order_;
    Reports &reports_;
    ZOR_IMAGE_DESC desc_;
    std::unique_ptr<unsigned char[]> picture_; // when it is held
    size_t line_ = 0;                          // bytes of a line in it
    std::vector<void *> rows_;                 // within it
};

} // namespace zor
