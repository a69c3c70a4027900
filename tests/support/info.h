// info.h - a request to open an image, for a scope.
#pragma once

#include "zor/str.h"
#include "zor/zor.h"

struct Info : ZOR_INFO {
    explicit Info(const char *for_name, const char *for_key = nullptr) {
        ZOR_info_init(this);
        file_name = for_name != nullptr ? STR_save(for_name) : nullptr;
        key = for_key != nullptr ? STR_save(for_key) : nullptr;
    }
    ~Info() { ZOR_info_cleanup(this, 1); }
    Info(Info &&) = delete;
    ZOR_IMAGE *open(const char *mode) const { return ZOR_open(this, mode); }
    // Opens and closes. Returns 1, or the status of a request that is refused.
    int try_open(const char *mode) const {
        ZOR_IMAGE *image = open(mode);
        return image == nullptr ? zor__err : ZOR_close(image) + 1;
    }
};
