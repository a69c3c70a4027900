// files.h - whole files as strings, and places for them.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "support/system.h"

inline std::string read_file(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void write_file(const std::filesystem::path &path, const std::string &content) {
    std::ofstream(path, std::ios::binary) << content;
}

// An empty directory for a scope; in memory where there is such a place, since tests make thousands
// of small files.
struct TempDir {
    TempDir() {
        const std::filesystem::path memory = "/dev/shm";
        const bool has_memory = std::filesystem::is_directory(memory);
        const auto place = has_memory ? memory : std::filesystem::temp_directory_path();
        std::random_device random;
        do
            path = place / ("zor-test-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path));
    }
    ~TempDir() { std::filesystem::remove_all(path); }
    TempDir(TempDir &&) = delete;
    std::filesystem::path path;
};
