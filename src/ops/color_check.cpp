// color_check.cpp - whether an image's colours can be corrected.
#include "ops/color_check.h"

#include "ops/operator.h"
#include "ops/samples.h"

namespace zor {

bool can_correct(const ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve, const char *name) {
    set_status(0);
    if (image == nullptr || curve == nullptr)
        return false;
    if (image->num_images < 1) {
        // The text says the opposite; it is the one that callers know for this.
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MULTIPLE_IMAGES, name);
        return false;
    }
    const ZOR_CHANNELS &colors = image->images[0].image;
    if (is_integer(colors) && colors.bits > 8) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_WIDTH, name);
        return false;
    }
    return is_integer(colors) && colors.bits >= 1 && colors.count >= 1 &&
           image->images[0].chan_flag == 1;
}

} // namespace zor
