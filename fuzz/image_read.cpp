// image_read.cpp - any bytes can be opened as a file of a format and read in any order: the reader
// neither crashes nor takes more memory than it may, what fails says why, and frames that are read
// in one call are those that scanlines give.
//
// FUZZ_KEY is the format; its reader may have FUZZ_MEGABYTES and FUZZ_RATIO times the size of the
// file.
#include <algorithm>
#include <cstring>
#include <vector>

#include "core/handle.h"
#include "format.h"
#include "ops/dice.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

constexpr char key[] = FUZZ_KEY;

// What is done with a file, as its bytes have it.
class Order final : public Dice {
public:
    Order(const uint8_t *data, size_t size) : data_(data), size_(size) {}
    uint32_t next() {
        state_ = state_ * 1664525U + 1013904223U + data_[place_ % size_];
        place_ += 7919U;
        return state_;
    }

private:
    uint32_t below(uint32_t sides) override { return (next() >> 8) % sides; }

    const uint8_t *data_;
    size_t size_;
    size_t place_ = 0;
    uint32_t state_ = 1;
};

// Touches every sample, so that rows that are too short are noticed.
void use_rows(const ZOR_IMAGE_DESC &desc, void **rows) {
    const auto width = static_cast<size_t>(desc.win_right - desc.win_left + 1);
    for (const ZOR_CHANNELS &group : {desc.image, desc.matte, desc.aux})
        for (int32_t i = 0; i < group.count; ++i, ++rows) {
            auto *bytes = static_cast<uint8_t *>(*rows);
            const auto sample = static_cast<size_t>(ZOR_sample_size(group.type, group.bits));
            for (size_t k = 0; k < width * sample; ++k)
                bytes[k] ^= 0xFF;
        }
}

int read_line(ZOR_IMAGE *image, int32_t k, int32_t y, void ***rows) {
    return k == 0 ? ZOR_scan_read(image, y, rows)
                  : image->scan(image->data[k], y, reinterpret_cast<void **>(rows));
}

// Reads some scanlines of all sub-images. Returns the handle, which may be another or null after a
// seek.
ZOR_IMAGE *read_image(ZOR_IMAGE *image, Order &order) {
    constexpr int most_scans = 200;
    constexpr int64_t most_samples = 1 << 21; // rows of a small file may be very long
    int64_t samples = 0;
    for (int i = 0; i < most_scans && samples < most_samples && image != nullptr; ++i) {
        const uint32_t state = order.next();
        const auto k =
            static_cast<int32_t>((state >> 8) % static_cast<uint32_t>(image->num_images));
        const ZOR_IMAGE_DESC &desc = image->images[k];
        const auto height = static_cast<uint32_t>(desc.win_top - desc.win_bottom + 1);
        const int y = desc.win_bottom + static_cast<int>((state >> 4) % height);
        samples += (int64_t{desc.win_right} - desc.win_left + 1) *
                   (desc.image.count + desc.matte.count + desc.aux.count);
        void **rows = nullptr;
        watch::reported = false;
        if (state % 16 == 1) {
            check(is_sound(ZOR_seek(&image, y)));
            continue;
        }
        if (image->set_frame != nullptr && state % 8 == 0) {
            const int moved = ZOR_set_frame(image, static_cast<int>(state >> 16) % 4);
            check(is_sound(moved));
            continue;
        }
        const int status = read_line(image, k, y, &rows);
        check(is_sound(status) && (status != 0 || !watch::reported));
        if (status == 0)
            use_rows(desc, rows);
    }
    return image;
}

// Calls a function with the size of each channel's samples.
template<class Function>
void for_each_channel(const ZOR_IMAGE_DESC &desc, Function function) {
    for (const ZOR_CHANNELS &group : {desc.image, desc.matte, desc.aux})
        for (int32_t i = 0; i < group.count; ++i)
            function(ZOR_sample_size(group.type, group.bits));
}

// A part of a window's columns or lines, which now and then is none.
void choose_span(Order &order, int32_t low, int32_t high, int32_t *first, int32_t *last) {
    *first = order.toss() ? low : low + order.roll(high - low + 1);
    *last = order.toss() ? high : *first + order.roll(high - *first + 1);
    const int32_t below = static_cast<int32_t>(static_cast<uint32_t>(low) - 1);
    if (order.roll(32) == 0)
        *(order.toss() ? first : last) = order.pick({INT32_MIN, below, high + 1, INT32_MAX});
}

constexpr int64_t most_bytes = int64_t{1} << 19; // of samples in a frame
constexpr int64_t most_planes = 1024;

// A request, with memory of exactly the size that it needs.
struct Frame {
    ZOR_RASTER raster = {};
    std::vector<ZOR_PLANE> planes = {};
    std::vector<uint8_t> memory = {};
    bool plain = false; // planes without gaps, the bottom line first
    bool whole = true;  // no plane is left out

    [[nodiscard]] int64_t columns() const { return int64_t{raster.right} - raster.left + 1; }
    [[nodiscard]] int64_t lines() const { return int64_t{raster.top} - raster.bottom + 1; }
};

// Lays the planes out: interleaved or each by itself, with or without gaps, upside down or not, and
// some of them left out.
void choose_layout(Order &order, const ZOR_IMAGE_DESC &desc, int64_t pixel, Frame *frame) {
    const bool interleaved = order.toss();
    const bool falls = order.roll(4) == 0;
    const bool leave_out = order.toss();
    const int gap = order.toss() ? 0 : order.roll(4);
    const int row_gap = order.toss() ? 0 : order.roll(4);
    const int64_t lines = frame->lines();
    frame->plain = !interleaved && !falls && gap == 0 && row_gap == 0;
    std::vector<int64_t> places;
    int64_t place = 0;
    for_each_channel(desc, [&](int64_t size) {
        const int64_t step = (interleaved ? pixel : size) + gap;
        const int64_t row = frame->columns() * step + row_gap;
        ZOR_PLANE &plane = frame->planes[places.size()];
        if (!frame->plain) {
            plane.column_step = static_cast<ZOR_WORD>(step);
            plane.row_step = static_cast<ZOR_WORD>(falls ? -row : row);
        }
        places.push_back(place + (falls ? (lines - 1) * row : 0));
        place += interleaved ? size : lines * row;
    });
    if (interleaved)
        place = lines * (frame->columns() * (pixel + gap) + row_gap);
    frame->memory.assign(static_cast<size_t>(place), 0xA5);
    for (size_t k = 0; k < places.size(); ++k)
        if (!leave_out || order.roll(3) != 0)
            frame->planes[k].samples = frame->memory.data() + places[k];
        else
            frame->whole = false;
}

// Whether there is such a part of such an image: a status.
int verdict(const ZOR_IMAGE_DESC *desc, const ZOR_RASTER &raster) {
    if (desc == nullptr || raster.num_threads < 0 || raster.left > raster.right ||
        raster.left < desc->win_left || raster.right > desc->win_right)
        return ZOR_E_ARGUMENT;
    const bool inside = raster.bottom >= desc->win_bottom && raster.bottom <= raster.top &&
                        raster.top <= desc->win_top;
    return inside ? 0 : ZOR_E_SCANLINE;
}

// Chooses what to read. False when there are too many channels.
bool choose_frame(Order &order, const ZOR_IMAGE &image, Frame *frame) {
    ZOR_RASTER &raster = frame->raster;
    raster.sub_image = order.roll(image.num_images);
    const ZOR_IMAGE_DESC &desc = image.images[raster.sub_image];
    choose_span(order, desc.win_left, desc.win_right, &raster.left, &raster.right);
    choose_span(order, desc.win_bottom, desc.win_top, &raster.bottom, &raster.top);
    raster.num_threads = 1 + order.roll(4);
    int64_t channels = 0;
    int64_t pixel = 0;
    for_each_channel(desc, [&](int64_t size) {
        ++channels;
        pixel += size;
    });
    if (channels > most_planes)
        return false;
    frame->planes.resize(static_cast<size_t>(channels));
    if (verdict(&desc, raster) == 0) {
        const int64_t room = most_bytes / std::max<int64_t>(pixel, 1);
        const auto columns = std::min(frame->columns(), room);
        raster.right = static_cast<int32_t>(raster.left + columns - 1);
        const auto lines = std::min(frame->lines(), room / columns);
        raster.top = static_cast<int32_t>(raster.bottom + lines - 1);
        choose_layout(order, desc, pixel, frame);
    }
    raster.num_planes = static_cast<int32_t>(frame->planes.size());
    raster.planes = frame->planes.data();
    switch (order.roll(64)) {
    case 0:
        raster.sub_image = order.toss() ? -1 : image.num_images;
        break;
    case 1:
        raster.num_threads = -1;
        break;
    default:;
    }
    return true;
}

// Calls a function with each sample of a line that has a place in the frame: its channel, its
// column in the window, its place and its size.
template<class Function>
void for_each_sample(const Frame &frame, const ZOR_IMAGE_DESC &desc, int64_t line,
                     Function function) {
    size_t k = 0;
    for_each_channel(desc, [&](int64_t size) {
        const ZOR_PLANE &plane = frame.planes[k];
        const int64_t step = frame.plain ? size : int64_t{plane.column_step};
        const int64_t row = frame.plain ? size * frame.columns() : int64_t{plane.row_step};
        if (plane.samples != nullptr) {
            int64_t place =
                static_cast<uint8_t *>(plane.samples) - frame.memory.data() + line * row;
            int64_t column = int64_t{frame.raster.left} - desc.win_left;
            for (const int64_t end = column + frame.columns(); column < end; ++column) {
                function(k, column, place, static_cast<size_t>(size));
                place += step;
            }
        }
        ++k;
    });
}

// The lines that are done are those that scanlines give, the next one fails in the same way, and
// nothing has been touched but samples. What is wrong with channels that are left out is not found.
void compare_lines(ZOR_IMAGE *image, const Frame &frame, int status) {
    const ZOR_RASTER &raster = frame.raster;
    const ZOR_IMAGE_DESC &desc = image->images[raster.sub_image];
    std::vector<uint8_t> wanted(frame.memory.size(), 0xA5);
    for (int32_t line = 0; line < frame.lines(); ++line) {
        void **rows = nullptr;
        if (line <= raster.lines_done) {
            const int scanned = read_line(image, raster.sub_image, raster.bottom + line, &rows);
            check(frame.whole ? scanned == (line < raster.lines_done ? 0 : status)
                              : line < raster.lines_done || scanned != 0);
        }
        for_each_sample(
            frame, desc, line, [&](size_t k, int64_t column, int64_t place, size_t size) {
                const auto *row = rows != nullptr ? static_cast<uint8_t *>(rows[k]) : nullptr;
                std::memcpy(wanted.data() + place,
                            row != nullptr ? row + column * static_cast<int64_t>(size)
                                           : frame.memory.data() + place,
                            size);
            });
    }
    check(wanted == frame.memory);
}

int read_by_words(ZOR_IMAGE *image, Frame *frame) {
    ZOR_RASTER &raster = frame->raster;
    std::vector<void *> channels;
    for (const ZOR_PLANE &plane : frame->planes)
        channels.push_back(plane.samples);
    const int status = ZOR_get_raster(image, reinterpret_cast<ZOR_WORD>(channels.data()),
                                      raster.left, raster.right, raster.bottom, raster.top);
    raster.lines_done = status == 0 ? static_cast<int32_t>(frame->lines()) : 0;
    return status;
}

// Reads a part of an image in one call.
void read_frame(ZOR_IMAGE *image, Order &order) {
    Frame frame;
    if (image->num_images < 1 || !choose_frame(order, *image, &frame))
        return;
    ZOR_RASTER &raster = frame.raster;
    const int expected = verdict(ZOR_image_desc(image, raster.sub_image), raster);
    const bool by_words = expected == 0 && frame.plain && raster.sub_image == 0 && order.toss();
    watch::reported = false;
    const int status = by_words && image->raster != nullptr ? read_by_words(image, &frame)
                                                            : ZOR_raster_read(image, &raster);
    if (reinterpret_cast<const zor::HandleRecord *>(image)->move == nullptr) {
        check(status == ZOR_E_UNSUPPORTED && !watch::reported);
        return;
    }
    check(is_sound(status) && watch::reported == (status != 0));
    check(expected != 0 ? status == expected && raster.lines_done == 0
                        : (status == 0) == (raster.lines_done == frame.lines()));
    if (expected == 0 && (status == 0 || !by_words))
        compare_lines(image, frame, status);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    check(start_format<key>());
    const Request request(put_file(data, size), key);
    watch::reported = false;
    const size_t before = watch::used;
    watch::peak = watch::used;
    ZOR_IMAGE *image = ZOR_open(&request, "r");
    check(image != nullptr || (watch::reported && zor__err < 0));
    Order order(data, size);
    if (image != nullptr)
        image = read_image(image, order);
    if (image != nullptr) {
        for (int i = 0; i < 3; ++i)
            read_frame(image, order);
        ZOR_close(image);
    }
    constexpr size_t of_request = most_planes * sizeof(ZOR_PLANE);
    check(watch::peak - before <= (size_t{FUZZ_MEGABYTES} << 20) + FUZZ_RATIO * size + of_request &&
          watch::used == before);
    return 0;
}
