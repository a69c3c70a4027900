// operators.cpp - any operators on images of any kind: rows keep to their bounds, and what was
// pushed comes off without a trace.
#include <cmath>

#include "choices.h"
#include "format.h"
#include "ops/any_operator.h"
#include "rows_driver.h"
#include "samples.h"
#include "zor/clr.h"

namespace {

constexpr char key[] = "rows";

ZOR_IMAGE_DESC any_picture(Choices &choices) {
    ZOR_IMAGE_DESC desc;
    zor__describe(&desc, 1 + choices.roll(600), 1 + choices.roll(8), 3, 8);
    const ZOR_CHANNELS colours = any_group(choices, 4);
    desc.image = choices.toss() ? ZOR_CHANNELS{3, colours.type, colours.bits} : colours;
    desc.matte =
        choices.toss() ? ZOR_CHANNELS{1, colours.type, colours.bits} : any_group(choices, 2);
    desc.aux = any_group(choices, 2);
    desc.orientation = choices.roll(2);
    const int left = choices.roll(20) - 10;
    const int bottom = choices.roll(20) - 10;
    desc.win_left += left;
    desc.win_right += left;
    desc.win_bottom += bottom;
    desc.win_top += bottom;
    desc.act_left = desc.win_left + choices.roll(desc.win_right - desc.win_left + 1);
    desc.act_right = desc.act_left + choices.roll(desc.win_right - desc.act_left + 1);
    desc.act_bottom = desc.win_bottom + choices.roll(desc.win_top - desc.win_bottom + 1);
    desc.act_top = desc.act_bottom + choices.roll(desc.win_top - desc.act_bottom + 1);
    desc.chan_flag = choices.roll(8) == 1 ? 0 : 1;
    desc.curve = power(choices.pick({1.0F, 2.2F, 0.45F, 0.0F, -1.0F}));
    desc.chan_format = const_cast<char *>(
        choices.pick<const char *>({"rgb", "rgb", "xyz", "sampled", "raw", "other"}));
    return desc;
}

// An image with operators on it.
class Stack {
public:
    Stack(ZOR_IMAGE *image, const Request &request) : image_(image), request_(request) {}
    ~Stack() {
        check(ZOR_close(image_) == 0); // takes off what is there
        if (other_ != nullptr)
            ZOR_close(other_);
    }
    Stack(const Stack &) = delete;
    Stack &operator=(const Stack &) = delete;

    void operate(Choices &choices) {
        switch (choices.roll(4)) {
        default:
            push(choices.roll(40) == 39 ? merge_ : choices.pick(operators), choices);
            break;
        case 2:
            pop(choices);
            break;
        case 3:
            scan(choices);
        }
    }

private:
    struct Layer {
        const Operator *op;
        void *data;
        std::string below;
    };

    void push(const Operator &op, Choices &choices) {
        const Layer layer = {&op, image_->data[0], snapshot(*image_)};
        if (&op == &merge_)
            merge();
        else
            op.push(image_, choices);
        if (image_->data[0] != layer.data)
            layers_.push_back(layer);
        else
            check(snapshot(*image_) == layer.below);
    }

    // With another field of the same kind, as long as operators have not made it different.
    void merge() {
        if (other_ == nullptr)
            other_ = ZOR_open(&request_, "r");
        if (image_->mode == ZOR_MODE_READ)
            ZOR__merge_fields(image_, other_);
    }

    void pop(Choices &choices) {
        const Operator &other = choices.pick(operators);
        if (layers_.empty()) {
            check(other.undo(image_) == 0);
            return;
        }
        const Layer &top = layers_.back();
        check(take_off(image_, *top.op, top.data));
        check(snapshot(*image_) == top.below);
        layers_.pop_back();
    }

    void scan(Choices &choices) {
        const ZOR_IMAGE_DESC &desc = image_->images[0];
        const int32_t height = desc.win_top - desc.win_bottom + 1;
        const int32_t y = desc.win_bottom + choices.roll(height + 2) - 1;
        watch::reported = false;
        if (image_->mode == ZOR_MODE_READ) {
            void **rows = nullptr;
            const int status = ZOR_scan_read(image_, y, &rows);
            check(is_sound(status));
            for_each_row(desc, [&](int i, const ZOR_CHANNELS &group) {
                const size_t bytes = row_bytes(desc, i, group);
                if (status == 0 && bytes > 0) // the caller may write there too
                    std::memset(rows[i], 1, bytes);
            });
            return;
        }
        std::vector<Row> rows;
        std::vector<void *> pointers;
        for_each_row(desc, [&](int i, const ZOR_CHANNELS &group) {
            const size_t width = rows_driver::row_width(desc, i);
            rows.push_back(any_row(group, width, choices.bits<uint16_t>()));
            pointers.push_back(rows.back().data());
        });
        pointers.push_back(nullptr);
        check(is_sound(ZOR_scan_write(image_, y, pointers.data())));
    }

    static size_t row_bytes(const ZOR_IMAGE_DESC &desc, int row, const ZOR_CHANNELS &group) {
        return rows_driver::row_width(desc, row) *
               static_cast<size_t>(ZOR_sample_size(group.type, group.bits));
    }

    static const Operator merge_;
    ZOR_IMAGE *image_;
    const Request &request_;
    ZOR_IMAGE *other_ = nullptr;
    std::vector<Layer> layers_;
};

const Operator Stack::merge_ = {nullptr, &ZOR__merge_fields_undo};

// Puts arguments of any kind among those that make sense.
void choose_arguments(Choices &choices) {
    const bool any = choices.toss();
    targets[0] = {ZOR_C_INTEGER, 4};
    ranges[0] = {-1, 0.5F};
    curves[0] = power(1);
    if (any) {
        targets[0] = {choices.roll(4), choices.bits<int8_t>()};
        ranges[0] = {choices.bits<float>(), choices.bits<float>()};
        curves[0] = power(choices.bits<float>());
        curves[0].kind = choices.pick({1, 1, 0, 3});
    }
}

void use_stack(Choices &choices) {
    choose_arguments(choices);
    rows_driver::pictures = {any_picture(choices)};
    if (choices.roll(4) == 3)
        rows_driver::pictures.push_back(any_picture(choices));
    rows_driver::broken_line = choices.roll(16) - 8;
    const char *mode = choices.roll(4) == 3 ? "w" : "r";
    Request request("picture", key);
    for (const ZOR_IMAGE_DESC &picture : rows_driver::pictures) {
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&request, 1, 1);
        *desc = picture;
        desc->chan_format = STR_save(picture.chan_format);
    }
    if (choices.roll(8) == 7)
        for (float &primary : request.primaries)
            primary = choices.bits<float>();
    ZOR_IMAGE *image = ZOR_open(&request, mode);
    check(image != nullptr);
    Stack stack(image, request);
    for (int i = 0; i < 40 && choices.more(); ++i)
        stack.operate(choices);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    check(start_format<key>());
    for (int32_t n = 0; n < 5; ++n)
        CLR_find(n); // which the library keeps
    ZOR_color_matrix_reset();
    const size_t before = watch::used;
    Choices choices(data, size);
    use_stack(choices);
    check(watch::used == before);
    return 0;
}
