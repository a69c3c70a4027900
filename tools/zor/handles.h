// handles.h - the library's records and handles, released by themselves.
#pragma once

#include <memory>

#include <zor/zor.h>

namespace zor {

struct CloseImage {
    void operator()(ZOR_IMAGE *image) const { ZOR_close(image); }
};
using Image = std::unique_ptr<ZOR_IMAGE, CloseImage>;

struct FreeInfo {
    void operator()(ZOR_INFO *info) const { ZOR_info_free(info, 1); }
};
using Info = std::unique_ptr<ZOR_INFO, FreeInfo>;

} // namespace zor
