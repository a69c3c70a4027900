// paths.h - names in UTF-8, as the library takes them, and the standard library's paths, which
// would not take them for that on every system.
#pragma once

#include <filesystem>
#include <string>

namespace zor {

inline std::filesystem::path to_path(const std::string &name) {
    return std::u8string(name.begin(), name.end());
}

inline std::string to_text(const std::filesystem::path &path) {
    const std::u8string name = path.u8string();
    return {name.begin(), name.end()};
}

} // namespace zor
