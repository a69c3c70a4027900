// fake_image.h - an open image without a file, for operators to be pushed onto. What lies in it is a
// function of channel and place; what is written to it can be looked at.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "core/handle.h"
#include "support/report_log.h"
#include "zor/driver.h"
#include "zor/ops.h"
#include "zor/str.h"

// Reads and writes samples of a group whatever their type.
inline double get_sample(const void *row, const ZOR_CHANNELS &group, int x) {
    const auto at = [&]<class Sample>(Sample) {
        return static_cast<double>(static_cast<const Sample *>(row)[x]);
    };
    switch (group.type == ZOR_C_INTEGER ? ZOR_sample_size(group.type, group.bits) : -group.type) {
    case 1:
        return at(uint8_t{});
    case 2:
        return at(uint16_t{});
    case 4:
        return at(uint32_t{});
    case -ZOR_C_FLOAT:
        return at(float{});
    default:
        return at(double{});
    }
}
inline void put_sample(void *row, const ZOR_CHANNELS &group, int x, double value) {
    const auto at = [&]<class Sample>(Sample) {
        static_cast<Sample *>(row)[x] = static_cast<Sample>(value);
    };
    switch (group.type == ZOR_C_INTEGER ? ZOR_sample_size(group.type, group.bits) : -group.type) {
    case 1:
        return at(uint8_t{});
    case 2:
        return at(uint16_t{});
    case 4:
        return at(uint32_t{});
    case -ZOR_C_FLOAT:
        return at(float{});
    default:
        return at(double{});
    }
}

// The group that a row belongs to.
inline const ZOR_CHANNELS &group_of_row(const ZOR_IMAGE_DESC &desc, int channel) {
    if (channel < desc.image.count)
        return desc.image;
    return channel < desc.image.count + desc.matte.count ? desc.matte : desc.aux;
}
inline int count_rows(const ZOR_IMAGE_DESC &desc) {
    return desc.image.count + desc.matte.count + desc.aux.count;
}

// Where a sample lies in rows: colours may be interleaved in the first one.
struct Place {
    Place(const ZOR_IMAGE_DESC &desc, int channel, int x) {
        const bool interleaved = desc.chan_flag == 0 && channel < desc.image.count;
        row = interleaved ? 0 : channel;
        index = interleaved ? x * desc.image.count + channel : x;
    }
    int row, index;
};

class FakeImage {
public:
    // The value of a sample, in the file's own terms.
    using Value = std::function<double(int channel, int x, int y)>;
    // As in records.h: {count, type, bits} of each group.
    struct Groups {
        ZOR_CHANNELS image = {3, ZOR_C_INTEGER, 8};
        ZOR_CHANNELS matte = {0, ZOR_C_INTEGER, 8};
        ZOR_CHANNELS aux = {0, ZOR_C_INTEGER, 8};
    };

    FakeImage(int mode, int width, int height, const Groups &groups, int num_images = 1)
        : image_(zor::new_handle(mode)) {
        zor__build_handle(image_, num_images);
        for (int i = 0; i < num_images; ++i) {
            ZOR_IMAGE_DESC &desc = image_->images[i];
            zor__describe(&desc, width, height, 3, 8);
            ERR_free(desc.chan_format);
            desc.chan_format = STR_save("rgb");
            desc.image = groups.image;
            desc.matte = groups.matte;
            desc.aux = groups.aux;
            desc.curve = {1, 1.0F, 0, 0, 0, 0, 0, nullptr};
            image_->data[i] = states_.emplace_back(std::make_unique<State>(this, desc)).get();
        }
        image_->scan = mode == ZOR_MODE_READ ? &read_line : &write_line;
        image_->close = &close_image;
        constexpr float primaries[] = {0.67F, 0.33F, 0,     0.21F, 0.71F,  0.08F,
                                       0.14F, 0.08F, 0.78F, 0.31F, 0.316F, 0.374F};
        std::copy_n(primaries, 12, image_->primaries);
    }
    ~FakeImage() {
        image_->close(image_); // from the top of the stack down
        EXPECT_TRUE(closed);
        zor::discard_handle(image_);
    }
    FakeImage(const FakeImage &) = delete;
    FakeImage &operator=(const FakeImage &) = delete;

    [[nodiscard]] ZOR_IMAGE *image() const { return image_; }
    [[nodiscard]] ZOR_IMAGE_DESC &desc(int index = 0) const { return image_->images[index]; }

    // Call after changing the description by hand: the rows are made to fit it.
    void settle() {
        for (int i = 0; i < image_->num_images; ++i)
            *states_[static_cast<size_t>(i)] = State(this, desc(i));
    }

    // The row as the stack delivers it; empty when reading failed.
    std::vector<std::vector<double>> read(int y) {
        void **rows = nullptr;
        std::vector<std::vector<double>> result;
        if (ZOR_scan_read(image_, y, &rows) < 0)
            return result;
        for (int k = 0; k < count_rows(desc()); ++k)
            for (int x = (result.emplace_back(), 0); x <= desc().win_right - desc().win_left; ++x)
                result.back().push_back(get(desc(), rows, k, x));
        return result;
    }

    // Hands a row in at the top; what comes out below is in written.
    int write(int y, const Value &row) {
        void **rows = new_rows(desc());
        for (int k = 0; k < count_rows(desc()); ++k)
            for (int x = 0; x <= desc().win_right - desc().win_left; ++x)
                put(desc(), rows, k, x, row(k, x, y));
        const int result = ZOR_scan_write(image_, y, rows);
        zor__chan_free(rows);
        return result;
    }

    Value value = [](int channel, int x, int y) { return (channel * 40 + x + 3 * y) & 255; };
    int fail_at = -1000;                      // the line that cannot be moved
    std::vector<int> lines;                   // moved so far, in this order
    std::vector<std::vector<double>> written; // the line written last
    bool closed = false;

    // Rows that fit a description; and a sample in such rows.
    static void **new_rows(const ZOR_IMAGE_DESC &desc) {
        const int interleaved = desc.chan_flag == 0 ? std::max(desc.image.count, 1) : 1;
        return zor__chan_alloc(&desc, (desc.win_right - desc.win_left + 1) * interleaved, "test");
    }
    static double get(const ZOR_IMAGE_DESC &desc, void *const *rows, int channel, int x) {
        const Place at(desc, channel, x);
        return get_sample(rows[at.row], group_of_row(desc, channel), at.index);
    }
    static void put(const ZOR_IMAGE_DESC &desc, void *const *rows, int channel, int x,
                    double value) {
        const Place at(desc, channel, x);
        put_sample(rows[at.row], group_of_row(desc, channel), at.index, value);
    }

private:
    // The data of one sub-image, which the scan functions get.
    struct State {
        State(FakeImage *fake, const ZOR_IMAGE_DESC &description) : owner(fake), desc(description) {
            width = desc.win_right - desc.win_left + 1;
            rows.reset(new_rows(desc), zor__chan_free);
        }
        FakeImage *owner;
        ZOR_IMAGE_DESC desc; // before operators
        int width;
        std::shared_ptr<void *> rows;
    };
    static int start(State &state, int y) {
        state.owner->lines.push_back(y);
        return y == state.owner->fail_at ? zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, "test")
                                         : 0;
    }
    static int read_line(void *data, int y, void **rows) {
        auto &state = *static_cast<State *>(data);
        if (const int status = start(state, y); status != 0)
            return status;
        for (int k = 0; k < count_rows(state.desc); ++k)
            for (int x = 0; x < state.width; ++x)
                put(state.desc, state.rows.get(), k, x, state.owner->value(k, x, y));
        *reinterpret_cast<void ***>(rows) = state.rows.get();
        return 0;
    }
    static int write_line(void *data, int y, void **rows) {
        auto &state = *static_cast<State *>(data);
        if (const int status = start(state, y); status != 0)
            return status;
        auto &written = state.owner->written;
        written.clear();
        for (int k = 0; k < count_rows(state.desc); ++k)
            for (int x = (written.emplace_back(), 0); x < state.width; ++x)
                written.back().push_back(get(state.desc, rows, k, x));
        return 0;
    }
    static int close_image(ZOR_IMAGE *image) {
        static_cast<State *>(image->data[0])->owner->closed = true;
        return 0;
    }

    ZOR_IMAGE *image_;
    std::vector<std::unique_ptr<State>> states_;
};
