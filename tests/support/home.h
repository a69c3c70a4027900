// home.h - a home directory of a test's own, for the configuration file.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

class Home {
public:
    Home() {
        std::filesystem::create_directories(std::string(mkdtemp(path.data())) + "/userconfig");
        setenv("HOME", path.c_str(), 1);
        unsetenv("QK_ROOT");
    }
    ~Home() { std::filesystem::remove_all(path); }
    Home(const Home &) = delete;
    Home &operator=(const Home &) = delete;

    [[nodiscard]] std::string file() const { return path + "/.zorrc"; }

    static void write(const std::string &path, const std::string &text) {
        std::ofstream(path, std::ios::binary) << text;
    }

    std::string path = ::testing::TempDir() + "zor_home_XXXXXX";
};
