// mox_image.h - frames as MOX images, for benchmarks. What fails ends the program.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "frames.h"
#include "zor/str.h"
#include "zor/zor.h"

namespace bench {

inline void require(bool good, const char *what) {
    if (good)
        return;
    std::fprintf(stderr, "bench: %s failed\n", what);
    std::exit(1);
}

inline ZOR_IMAGE *open_image(const std::string &path, const char *mode, int32_t bits) {
    ZOR_INFO info;
    ZOR_info_init(&info);
    info.key = STR_save("mox");
    info.file_name = STR_save(path.c_str());
    info.complete_path = 1;
    if (*mode == 'w') {
        ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info, Frame::width, Frame::height);
        desc->image.bits = bits;
        desc->matte = {1, ZOR_C_INTEGER, bits};
    }
    ZOR_IMAGE *image = ZOR_open(&info, mode);
    ZOR_info_cleanup(&info, 1);
    require(image != nullptr, "opening");
    return image;
}

} // namespace bench
