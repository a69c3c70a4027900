// files.h - whole files as strings, and places for them.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/system.h"

inline std::string read_file(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void write_file(const std::filesystem::path &path, const std::string &content) {
    std::ofstream(path, std::ios::binary) << content;
}

// An empty directory for a scope.
struct TempDir {
    TempDir() {
        path = make_directory((std::filesystem::temp_directory_path() / "zor-test-").string());
    }
    ~TempDir() { std::filesystem::remove_all(path); }
    TempDir(TempDir &&) = delete;
    std::filesystem::path path;
};
