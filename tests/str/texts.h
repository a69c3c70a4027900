// texts.h - carries texts into the buffers of the string library and back.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "zor/err.h"

// The text of a growable string, which is released.
inline std::string take(char *string) {
    const std::string text = string == nullptr ? "(null)" : string;
    ERR_free(string);
    return text;
}

// A text in a block of exactly its size and some bytes to spare, for sanitizers to watch.
inline std::vector<char> block(std::string_view text, size_t spare = 0) {
    std::vector<char> bytes(text.size() + 1 + spare);
    std::copy(text.begin(), text.end(), bytes.begin());
    return bytes;
}
