// json.h - how the command writes JSON.
#pragma once

#include <cstdio>

#include <nlohmann/json.hpp>

namespace zor {

using Json = nlohmann::ordered_json;

// A text that may be null.
inline Json json_text(const char *text) { return text != nullptr ? Json(text) : Json(); }

// Files may hold bytes that are no UTF-8; they become U+FFFD. A negative indent makes it one line.
inline void print_json(const Json &value, int indent = 2) {
    std::printf("%s\n", value.dump(indent, ' ', false, Json::error_handler_t::replace).c_str());
}

} // namespace zor
