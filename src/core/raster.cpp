// raster.cpp - moving many lines in one call.
#include "core/raster.h"

#include <algorithm>

#include "core/description.h"
#include "core/handle.h"
#include "err/status.h"
#include "platform/platform.h"

using zor::platform::Lock;
using zor::platform::Mutex;

namespace zor {

namespace {

int32_t refuse(const ZOR_IMAGE &image) {
    return zor__fail(ZOR_E_ARGUMENT, ZOR_MSG_CANNOT_HANDLE, image.key != nullptr ? image.key : "");
}

int64_t num_channels(const ZOR_IMAGE_DESC &desc) {
    return int64_t{desc.image.count} + desc.matte.count + desc.aux.count;
}

// The columns and lines of a request. What is written are whole lines.
int32_t check_window(const ZOR_IMAGE &image, const ZOR_IMAGE_DESC &desc, const ZOR_RASTER &asked) {
    const bool writes = (image.mode & ZOR_MODE_WRITE) != 0;
    if (asked.left > asked.right || asked.left < desc.win_left || asked.right > desc.win_right ||
        (writes && asked.right - asked.left != desc.win_right - desc.win_left))
        return refuse(image);
    if (asked.bottom < desc.win_bottom || asked.bottom > desc.win_top)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, asked.bottom);
    if (asked.top < asked.bottom || asked.top > desc.win_top)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, asked.top);
    return 0;
}

// Fills in the steps that are left open. False when there is nothing to write from.
bool complete_planes(const ZOR_IMAGE &image, const ZOR_IMAGE_DESC &desc, CheckedRaster *checked) {
    const ZOR_WORD columns = checked->raster.right - checked->raster.left + 1;
    ZOR_PLANE *plane = checked->planes.get();
    for (const ZOR_CHANNELS &group : {desc.image, desc.matte, desc.aux})
        for (int32_t i = 0; i < group.count; ++i, ++plane) {
            if (plane->samples == nullptr && (image.mode & ZOR_MODE_WRITE) != 0)
                return false;
            if (plane->column_step == 0)
                plane->column_step = ZOR_sample_size(group.type, group.bits);
            if (plane->row_step == 0)
                plane->row_step = columns * plane->column_step;
        }
    return true;
}

// Checks all but the planes, makes room for these and has them filled in.
template<class Fill>
int32_t check(const ZOR_IMAGE &image, const ZOR_IMAGE_DESC *desc, const ZOR_RASTER &asked,
              CheckedRaster *checked, Fill fill) {
    if (desc == nullptr || asked.num_threads < 0)
        return refuse(image);
    if (const int32_t status = check_window(image, *desc, asked); status != 0)
        return status;
    checked->raster = asked;
    checked->raster.num_planes = static_cast<int32_t>(num_channels(*desc));
    checked->raster.lines_done = 0;
    checked->planes.reset(allocate<ZOR_PLANE>(checked->raster.num_planes));
    if (checked->planes == nullptr)
        return set_status(ZOR_E_MEMORY);
    checked->raster.planes = checked->planes.get();
    const int32_t wanted = asked.num_threads == 0 ? platform::processor_count() : asked.num_threads;
    checked->raster.num_threads = std::min(wanted, platform::most_threads);
    fill(checked->planes.get(), checked->raster.num_planes);
    return complete_planes(image, *desc, checked) ? 0 : refuse(image);
}

} // namespace

int32_t check_raster(const ZOR_IMAGE &image, const ZOR_RASTER &asked, CheckedRaster *checked) {
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(&image, asked.sub_image);
    if (desc == nullptr || asked.num_planes != num_channels(*desc) ||
        (asked.planes == nullptr && asked.num_planes > 0))
        return refuse(image);
    return check(image, desc, asked, checked, [&asked](ZOR_PLANE *planes, int32_t count) {
        std::copy_n(asked.planes, count, planes);
    });
}

int32_t check_raster(const ZOR_IMAGE &image, const ZOR_RASTER &asked, void *const *channels,
                     CheckedRaster *checked) {
    if (channels == nullptr)
        return refuse(image);
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(&image, asked.sub_image);
    return check(image, desc, asked, checked, [channels](ZOR_PLANE *planes, int32_t count) {
        std::transform(channels, channels + count, planes, [](void *samples) {
            return ZOR_PLANE{samples, 0, 0};
        });
    });
}

namespace {

// A driver told of success with lines left.
int32_t fail_line(int32_t mode, int32_t bottom, const ZOR_RASTER &raster) {
    constexpr char reason[] = "the driver left it out";
    const int32_t y = bottom + raster.lines_done;
    return mode == ZOR_MODE_READ ? zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, reason)
                                 : zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE_LINE, y, reason);
}

int move(ZOR_IMAGE *image, ZOR_RASTER *raster, int32_t mode) {
    if (image == nullptr)
        return set_status(ZOR_E_UNSUPPORTED);
    if (raster == nullptr)
        return refuse(*image);
    const Lock lock(static_cast<Mutex *>(image->lock));
    raster->lines_done = 0;
    const ZOR_MOVE_FUNCTION driver = reinterpret_cast<const HandleRecord *>(image)->move;
    if (driver == nullptr || (image->mode & mode) == 0 || has_operators(*image))
        return set_status(ZOR_E_UNSUPPORTED);
    CheckedRaster checked;
    if (const int32_t status = check_raster(*image, *raster, &checked); status != 0)
        return status;
    void *state = slot_state(*image, checked.raster.sub_image);
    if (state == nullptr)
        return set_status(ZOR_E_UNSUPPORTED);
    const int result = driver(state, &checked.raster);
    image->last_scanline = -1;
    const int32_t lines = checked.raster.top - checked.raster.bottom + 1;
    raster->lines_done = std::clamp(checked.raster.lines_done, 0, lines);
    if (result < 0)
        return result;
    return raster->lines_done == lines ? 0 : fail_line(mode, checked.raster.bottom, *raster);
}

} // namespace

} // namespace zor

int ZOR_raster_read(ZOR_IMAGE *image, ZOR_RASTER *raster) {
    return zor::move(image, raster, ZOR_MODE_READ);
}

int ZOR_raster_write(ZOR_IMAGE *image, ZOR_RASTER *raster) {
    return zor::move(image, raster, ZOR_MODE_WRITE);
}

void zor__offer_rasters(ZOR_IMAGE *image, ZOR_MOVE_FUNCTION move) {
    reinterpret_cast<zor::HandleRecord *>(image)->move = move;
}
