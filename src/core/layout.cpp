// layout.cpp - the layouts that modules and applications of 32 bits were built with, held fast.
#include <cstddef>

#include "zor/driver.h"
#include "zor/fmt.h"

namespace {

constexpr bool is_32_bit = sizeof(void *) == 4;

// A 32-bit build has the record in so many bytes.
#define ZOR_SIZE(record, bytes) static_assert(!is_32_bit || sizeof(record) == (bytes))

ZOR_SIZE(ERR_OBJECT, 40);
ZOR_SIZE(ERR_HANDLER, 12);
ZOR_SIZE(FMT_ASPECT, 16);
ZOR_SIZE(ZOR_CAPABILITY, 32);
ZOR_SIZE(ZOR_CAP_ENTRY, 20);
ZOR_SIZE(ZOR_CAP_LIST, 12);
ZOR_SIZE(ZOR_CHANNELS, 12);
ZOR_SIZE(ZOR_DRIVER, 128);
ZOR_SIZE(ZOR_FORMAT, 112);
ZOR_SIZE(ZOR_IMAGE, 272);
ZOR_SIZE(ZOR_IMAGE_DESC, 156);
ZOR_SIZE(ZOR_INFO, 192);
ZOR_SIZE(ZOR_NAME_ELEMENT, 40);
ZOR_SIZE(ZOR_PLANE, 12);
ZOR_SIZE(ZOR_RASTER, 36);
ZOR_SIZE(ZOR_RESPONSE_CURVE, 32);
static_assert(sizeof(ZOR_CAP_SETTING) == 8); // on every build

struct Place {
    size_t word; // where a 32-bit build has the member
    size_t offset;
};

// Where pointers are wider, members keep their order, and no word has grown beyond a pointer.
template<size_t count>
constexpr bool are_in_place(const Place (&places)[count]) {
    size_t least = 0;
    for (const auto &[word, offset] : places) {
        if (offset < least || offset < 4 * word || offset > sizeof(void *) * word)
            return false;
        least = offset + 4;
    }
    return true;
}

// clang-format off
#define ZOR_AT(record, member, word) {word, offsetof(record, member)}
static_assert(are_in_place({ZOR_AT(ERR_OBJECT, flags, 1),
    ZOR_AT(ERR_OBJECT, argument_names, 9)}));
static_assert(are_in_place({ZOR_AT(ZOR_CAPABILITY, flags, 7)}));
static_assert(are_in_place({ZOR_AT(ZOR_DRIVER, access, 20),
    ZOR_AT(ZOR_DRIVER, hard_link_duplicates, 28), ZOR_AT(ZOR_DRIVER, ui_popup, 31)}));
static_assert(are_in_place({ZOR_AT(ZOR_FORMAT, access, 20), ZOR_AT(ZOR_FORMAT, ui_popdown, 26)}));
static_assert(are_in_place({ZOR_AT(ZOR_IMAGE, key, 3), ZOR_AT(ZOR_IMAGE, cap_settings, 19),
    ZOR_AT(ZOR_IMAGE, images, 21), ZOR_AT(ZOR_IMAGE, mode, 24), ZOR_AT(ZOR_IMAGE, raster, 33),
    ZOR_AT(ZOR_IMAGE, lock, 40), ZOR_AT(ZOR_IMAGE, name, 53), ZOR_AT(ZOR_IMAGE, own_slot, 62),
    ZOR_AT(ZOR_IMAGE, open_name, 65), ZOR_AT(ZOR_IMAGE, own_settings, 66),
    ZOR_AT(ZOR_IMAGE, driver_state, 67)}));
static_assert(are_in_place({ZOR_AT(ZOR_IMAGE_DESC, win_left, 9),
    ZOR_AT(ZOR_IMAGE_DESC, orientation, 17), ZOR_AT(ZOR_IMAGE_DESC, image, 20),
    ZOR_AT(ZOR_IMAGE_DESC, picture_format, 30), ZOR_AT(ZOR_IMAGE_DESC, frame, 35)}));
static_assert(are_in_place({ZOR_AT(ZOR_INFO, machine, 7), ZOR_AT(ZOR_INFO, cap_settings, 13),
    ZOR_AT(ZOR_INFO, marker, 19), ZOR_AT(ZOR_INFO, num_images, 32),
    ZOR_AT(ZOR_INFO, first_frame, 39), ZOR_AT(ZOR_INFO, untouched, 43)}));
static_assert(are_in_place({ZOR_AT(ZOR_NAME_ELEMENT, kind, 9)}));
// clang-format on

} // namespace
