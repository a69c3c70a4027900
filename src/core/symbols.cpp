// symbols.cpp - keeps in the library what modules need of it, and the channel-format names.
#include <cstdio>

#include "base/base/dst_memory.h"
#include "zor/driver.h"
#include "zor/str.h"

const char ZOR_LITERAL_HARD_FORMAT_TYPE_RAW[4] = "raw";
const char ZOR_LITERAL_HARD_FORMAT_TYPE_RGB[4] = "rgb";

void ZOR_symbols(void) {
    std::fputs("ZOR_symbols: should not be called by the application\n", stderr);
    STR_length(nullptr);
    STR_compare(nullptr, nullptr);
    STR_undefine_array(nullptr);
    dst_string_release(nullptr);
    ZOR_mox_is_file(nullptr, nullptr);
    ZOR_mox_r_open(nullptr);
    ZOR_mox_w_open(nullptr);
}
