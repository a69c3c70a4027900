// image_write.cpp - images of any description are written in any order of calls: what is refused or
// fails says why, and what was written to a file that closed well is read back as it was.
//
// FUZZ_KEY is the format.
#include <map>

#include "choices.h"
#include "format.h"
#include "samples.h"

namespace {

constexpr char key[] = FUZZ_KEY;

using Rows = std::vector<Row>;
using Frame = std::map<std::pair<int32_t, int32_t>, Rows>; // lines by sub-image and y

void describe(ZOR_IMAGE_DESC &desc, Choices &choices) {
    const ZOR_CHANNELS usual = {choices.pick({3, 1}), ZOR_C_INTEGER, choices.pick({8, 16})};
    desc.image = choices.toss() ? usual : any_group(choices, 4);
    desc.matte = choices.toss() ? ZOR_CHANNELS{} : any_group(choices, 2);
    desc.aux = choices.roll(4) != 0 ? ZOR_CHANNELS{} : any_group(choices, 2);
    if (choices.roll(32) == 0)
        choices.pick({&desc.image, &desc.matte, &desc.aux})->bits = choices.bits<int8_t>();
    if (choices.toss()) {
        const int32_t left = choices.roll(60) - 30;
        const int32_t bottom = choices.roll(60) - 30;
        desc.win_left += left;
        desc.win_right += left;
        desc.win_bottom += bottom;
        desc.win_top += bottom;
        desc.act_left = desc.win_left + choices.roll(4);
        desc.act_right = desc.win_right - choices.roll(4);
        desc.act_bottom = desc.win_bottom + choices.roll(4);
        desc.act_top = desc.win_top - choices.roll(4);
    }
    if (choices.roll(4) == 0)
        desc.curve = {1, choices.bits<float>(), 0, 0, 0, 0, 0, nullptr};
    if (choices.roll(4) == 0)
        desc.chan_format = STR_save(choices.text(40).c_str());
    if (choices.roll(8) == 0)
        desc.picture_aspect = choices.bits<float>();
}

void fill(ZOR_INFO &info, Choices &choices) {
    for (int n = std::max(1, choices.roll(8) - 4); n > 0; --n) {
        const int width = choices.toss() ? 1 + choices.roll(20) : 1 + choices.roll(400);
        describe(*ZOR_info_add_image(&info, width, 1 + choices.roll(16)), choices);
    }
    for (char *ZOR_INFO::*text : {&ZOR_INFO::name, &ZOR_INFO::description, &ZOR_INFO::program,
                                  &ZOR_INFO::machine, &ZOR_INFO::user, &ZOR_INFO::date,
                                  &ZOR_INFO::time, &ZOR_INFO::filter, &ZOR_INFO::compression})
        info.*text = STR_save(choices.roll(8) == 0 ? choices.text(200).c_str() : "{1000000000}");
    if (choices.roll(8) == 0)
        for (float &primary : info.primaries)
            primary = choices.bits<float>();
    info.frame_count = choices.roll(8) == 0 ? choices.bits<int32_t>() : 1;
}

// A file being written, and what is known to be in it.
class Writer {
public:
    Writer(ZOR_IMAGE *image, Choices &choices) : image_(image), choices_(choices) {
        for (int32_t k = 0; k < image->num_images; ++k) {
            descs_.push_back(image->images[k]);
            next_.push_back(first_line(k));
        }
    }

    void operate() {
        const int32_t k = choices_.roll(image_->num_images);
        const ZOR_IMAGE_DESC &desc = descs_[static_cast<size_t>(k)];
        switch (choices_.roll(8)) {
        default:
            write(k, next_[static_cast<size_t>(k)]);
            break;
        case 4:
        case 5:
            for (int32_t i = 0; i < image_->num_images; ++i)
                for (int32_t n = desc.win_top - desc.win_bottom; n >= 0; --n)
                    write(i, next_[static_cast<size_t>(i)]);
            break;
        case 6:
            write(k, desc.win_bottom + choices_.bits<int8_t>());
            break;
        case 7:
            other_call(k);
        }
    }

    // Closes the file, and reads it when that went well.
    void finish(const std::string &name) {
        watch::reported = false;
        const int status = ZOR_close(image_);
        check(status == 0 || (status < 0 && watch::reported));
        if (status == 0)
            read_back(name);
    }

private:
    [[nodiscard]] bool rising(int32_t k) const {
        return (image_->images[k].orientation & ZOR_ORIENTATION_RISING) != 0;
    }
    [[nodiscard]] int32_t first_line(int32_t k) const {
        return rising(k) ? image_->images[k].win_bottom : image_->images[k].win_top;
    }

    void write(int32_t k, int32_t y) {
        const ZOR_IMAGE_DESC &desc = descs_[static_cast<size_t>(k)];
        const auto seed = choices_.bits<uint16_t>();
        const bool junk = choices_.roll(16) == 1; // samples above the largest value
        Rows rows;
        for_each_row(desc, [&](int i, ZOR_CHANNELS group) {
            group.bits =
                junk && group.type == ZOR_C_INTEGER ? (group.bits + 7) / 8 * 8 : group.bits;
            rows.push_back(any_row(group, width_of(desc), seed + static_cast<uint32_t>(i)));
        });
        const Rows kept = rows;
        std::vector<void *> pointers;
        for (Row &row : rows)
            pointers.push_back(row.data());
        pointers.push_back(nullptr);
        watch::reported = false;
        const int status = k == 0 ? ZOR_scan_write(image_, y, pointers.data())
                                  : image_->scan(image_->data[k], y, pointers.data());
        check(is_sound(status));
        if (status != 0)
            return;
        next_[static_cast<size_t>(k)] = y + (rising(k) ? 1 : -1);
        check(y >= desc.win_bottom && y <= desc.win_top);
        frames_.back()[{k, y}] = junk ? Rows() : kept;
    }

    void other_call(int32_t k) {
        watch::reported = false;
        const ZOR_IMAGE *before = image_;
        switch (choices_.roll(4)) {
        case 0: {
            const int32_t next = image_->first_frame + static_cast<int32_t>(frames_.size());
            const int32_t number = choices_.toss() ? next : choices_.bits<int8_t>();
            if (ZOR_set_frame(image_, number) == 0 && number == next) {
                frames_.emplace_back();
                next_[0] = first_line(0);
            }
            break;
        }
        case 1:
            check(ZOR_seek(&image_, choices_.bits<int8_t>()) <= 0 && image_ == before);
            break;
        case 2:
            if (void **rows = ZOR_chan_alloc(image_, k); rows != nullptr && choices_.toss())
                ZOR_chan_free(image_, rows);
            break;
        case 3:
            check(ZOR_playback_play(image_, 0, 0, 0, 0, 0) <= 1);
        }
    }

    void read_back(const std::string &name) const {
        const Request request(name, key);
        ZOR_IMAGE *image = ZOR_open(&request, "r");
        check(image != nullptr && image->num_images == static_cast<int32_t>(descs_.size()));
        for (size_t i = 0; i < frames_.size(); ++i) {
            check(i == 0 || ZOR_set_frame(image, image->first_frame + static_cast<int>(i)) == 0);
            for (int32_t k = 0; k < image->num_images; ++k)
                read_lines(*image, k, frames_[i]);
        }
        check(ZOR_close(image) == 0);
    }

    // In the file's order, which may be the only one.
    void read_lines(const ZOR_IMAGE &image, int32_t k, const Frame &frame) const {
        const ZOR_IMAGE_DESC &desc = image.images[k];
        const ZOR_IMAGE_DESC &written = descs_[static_cast<size_t>(k)];
        check(width_of(desc) == width_of(written));
        const bool up = (desc.orientation & ZOR_ORIENTATION_RISING) != 0;
        for (int32_t n = 0; n <= desc.win_top - desc.win_bottom; ++n) {
            const int32_t y = up ? desc.win_bottom + n : desc.win_top - n;
            void **rows = nullptr;
            watch::reported = false;
            const int status = image.scan(image.data[k], y, reinterpret_cast<void **>(&rows));
            check(is_sound(status));
            const int32_t line = y - desc.win_bottom + written.win_bottom;
            const auto known = frame.find({k, line});
            if (known == frame.end() || known->second.empty())
                continue;
            check(status == 0);
            const bool active = line >= written.act_bottom && line <= written.act_top;
            compare(written, desc, known->second, rows, active);
        }
    }

    // Integers may have become wider, and mattes as wide as the colours.
    static void compare(const ZOR_IMAGE_DESC &written, const ZOR_IMAGE_DESC &desc,
                        const Rows &expected, void **rows, bool active) {
        std::vector<ZOR_CHANNELS> groups;
        for_each_row(desc, [&](int, const ZOR_CHANNELS &group) { groups.push_back(group); });
        check(groups.size() == expected.size());
        for_each_row(written, [&](int i, const ZOR_CHANNELS &group) {
            const auto k = static_cast<size_t>(i);
            if (groups[k].type != group.type ||
                (group.type == ZOR_C_INTEGER && groups[k].bits < group.bits)) {
                check(i >= written.image.count);
                return;
            }
            const int wider = group.type == ZOR_C_INTEGER ? groups[k].bits - group.bits : 0;
            const auto before = static_cast<size_t>(ZOR_sample_size(group.type, group.bits));
            const auto now = static_cast<size_t>(ZOR_sample_size(group.type, groups[k].bits));
            for (int32_t x = written.win_left; x <= written.win_right; ++x) {
                const auto column = static_cast<size_t>(x - written.win_left);
                uint64_t want = 0;
                uint64_t got = 0;
                if (active && x >= written.act_left && x <= written.act_right)
                    std::memcpy(&want, &expected[k][column * before], before);
                std::memcpy(&got, static_cast<uint8_t *>(rows[i]) + column * now, now);
                check(got >> wider == want);
            }
        });
    }

    ZOR_IMAGE *image_;
    Choices &choices_;
    std::vector<ZOR_IMAGE_DESC> descs_; // as they were opened; texts and tables are the handle's
    std::vector<int32_t> next_;
    std::vector<Frame> frames_ = std::vector<Frame>(1);
};

void write_image(Choices &choices) {
    const std::string name = put_file(nullptr, 0);
    Request request(name, key);
    fill(request, choices);
    ZOR_CAP_SETTING setting = {0, 0, {0}};
    setting.code = choices.roll(16) == 1 ? choices.bits<uint8_t>() : uint8_t{0};
    setting.value.number = choices.roll(20);
    ZOR_CAP_SETTING *settings[] = {&setting, nullptr};
    if (choices.toss())
        request.cap_settings = settings;
    watch::reported = false;
    ZOR_IMAGE *image = ZOR_open(&request, "w");
    check(image != nullptr || (watch::reported && zor__err < 0));
    if (image == nullptr)
        return;
    Writer writer(image, choices);
    for (int i = 0; i < 60 && choices.more(); ++i)
        writer.operate();
    writer.finish(name);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    check(start_format<key>());
    const size_t before = watch::used;
    Choices choices(data, size);
    write_image(choices);
    check(watch::used == before);
    return 0;
}
