// select.cpp - one sub-image of several, the others being locked: their data slots are null, which
// every scan function refuses.
#include <algorithm>

#include "ops/operator.h"
#include "ops/shape.h"

namespace zor {

namespace {

struct Select {
    static constexpr Tag tag = Tag::select;
    OperatorHead head;   // whose data is the selected image's
    Owned<void *> slots; // of all images
    int32_t num_images = 0;
    ZOR_IMAGE_DESC *images = nullptr;
    ZOR_IMAGE_DESC desc = {};     // the selected image's; its texts stay the original's
    void *driver_state = nullptr; // of the handle before, as is this:
    int32_t last_line = 0;

    void restore(ZOR_IMAGE &image) {
        image.num_images = num_images;
        image.images = images;
        std::copy_n(slots.get(), num_images, image.data);
        image.driver_state = driver_state;
        image.last_scanline = last_line;
    }
};

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__select(ZOR_IMAGE *image, int32_t index) {
    using namespace zor;
    if (image == nullptr || image->num_images < 2 || index < 0 || index >= image->num_images ||
        slot_state(*image, index) == nullptr)
        return image;
    // Operators already there are about the first image, and know no other's data.
    if (index != 0 && image->driver_state != nullptr) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, "select operator");
        return image;
    }
    RecordPtr<Select> record = new_record<Select>();
    if (record == nullptr)
        return image;
    record->slots.reset(allocate<void *>(image->num_images));
    if (record->slots == nullptr) {
        set_status(ZOR_E_MEMORY);
        return image;
    }
    record->num_images = image->num_images;
    record->images = image->images;
    record->desc = image->images[index];
    record->driver_state = image->driver_state;
    record->last_line = image->last_scanline;
    std::copy_n(image->data, image->num_images, record->slots.get());
    std::fill_n(image->data, image->num_images, nullptr);

    void *selected = record->slots.get()[index];
    image->images = &record->desc;
    image->num_images = 1;
    image->data[0] = selected;
    forget_last_line(*image);
    return install_with(image, std::move(record), &pass_scan);
}

int ZOR__select_undo(ZOR_IMAGE *image) { return zor::undo<zor::Select>(image); }
