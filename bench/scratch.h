// scratch.h - a directory of its own for the files of one run of a benchmark.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace bench {

class Scratch {
public:
    // In the directory that is the program's first argument, or else in memory.
    Scratch(int argc, char **argv)
        : path_(std::filesystem::path(argc > 1 ? argv[1] : "/dev/shm") /
                ("zor-bench-" + std::to_string(getpid()))) {
        std::filesystem::create_directory(path_);
    }
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    [[nodiscard]] const std::filesystem::path &path() const { return path_; }
    [[nodiscard]] std::string file(const std::string &name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

} // namespace bench
