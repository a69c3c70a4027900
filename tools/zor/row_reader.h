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
    // A picture in memory: lines from the bottom up, each with the channels in turn. It is touched
    // as lines arrive: many files claim more than they hold.
    struct Picture {
        std::unique_ptr<unsigned char[]> memory;
        size_t line; // bytes from one to the next

        [[nodiscard]] unsigned char *at(int64_t row, size_t offset) const {
            return memory.get() + line * static_cast<size_t>(row) + offset;
        }
    };

    //   name       for messages
    //   any_order  the file can be read in any order
    RowReader(ZOR_IMAGE *image, std::string name, bool any_order, Reports &reports);

    // Those channels alone, in their order.
    void choose(const std::vector<int32_t> &channels);

    [[nodiscard]] const ZOR_IMAGE_DESC &desc() const { return desc_; }
    [[nodiscard]] int64_t width() const { return int64_t{desc_.win_right} - desc_.win_left + 1; }
    [[nodiscard]] int64_t height() const { return int64_t{desc_.win_top} - desc_.win_bottom + 1; }
    [[nodiscard]] bool rises() const { return (desc_.orientation & ZOR_ORIENTATION_RISING) != 0; }
    [[nodiscard]] int32_t num_channels() const { return static_cast<int32_t>(channels_.size()); }

    // The group that a channel of the image belongs to.
    [[nodiscard]] const ZOR_CHANNELS &group(int32_t channel) const;

    // To be called once, before rows are read. Returns false after a report, or when the user
    // interrupted it.
    //   rising  whether they will be read from the bottom up; else from the top down
    bool start(bool rising);

    // A row, counted from the bottom, 0; one pointer for each channel and a null. Null after a
    // report.
    void **read(int64_t row);

    // The picture, where it is held, and where the channels are in its lines; else null.
    [[nodiscard]] const Picture *held() const { return picture_.memory ? &picture_ : nullptr; }
    [[nodiscard]] const std::vector<size_t> &offsets() const { return offsets_; }

private:
    bool scan(int64_t row); // into rows_
    bool hold();
    [[nodiscard]] size_t row_bytes(int32_t channel) const;

    ZOR_IMAGE *image_;
    std::string name_;
    bool any_order_;
    Reports &reports_;
    ZOR_IMAGE_DESC desc_;
    std::vector<int32_t> channels_;
    std::vector<void *> rows_; // of the channels, and a null
    Picture picture_ = {};
    std::vector<size_t> offsets_;
};

} // namespace zor
