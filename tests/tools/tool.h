// tool.h - runs programs as users run them, without a shell.
#pragma once

#include <algorithm>
#include <cstdint>
#include <set>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "support/files.h"

namespace fs = std::filesystem;

// The samples of a picture, top row first: stretches of one value and of noise by turns.
inline std::string raster(int width, int height, int channels, int bytes) {
    std::string samples(static_cast<size_t>(width) * static_cast<size_t>(height * channels * bytes),
                        '\0');
    uint32_t noise = 1;
    for (size_t i = 0; i < samples.size(); ++i) {
        noise = noise * 1664525 + 1013904223;
        samples[i] = i == 0 || noise % 7 > 2 ? static_cast<char>(noise >> 24) : samples[i - 1];
    }
    return samples;
}

// A PAM file of samples.
inline std::string pam(int width, int height, int channels, int bytes, const std::string &samples) {
    static const char *const types[] = {"", "GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
    return "P7\nWIDTH " + std::to_string(width) + "\nHEIGHT " + std::to_string(height) +
           "\nDEPTH " + std::to_string(channels) + "\nMAXVAL " + (bytes == 1 ? "255" : "65535") +
           "\nTUPLTYPE " + types[channels] + "\nENDHDR\n" + samples;
}
inline std::string pam(int width, int height, int channels, int bytes) {
    return pam(width, height, channels, bytes, raster(width, height, channels, bytes));
}

// Each test works in an empty directory of its own.
class Tool : public testing::Test {
protected:
    struct Run {
        int code; // exit code; of a program that a signal ended 128 and the signal's number
        std::string out, err;
    };
    using Words = std::vector<std::string>; // in UTF-8; the first is the program

    Tool() {
        set_variable("ZOR_MODULES", nullptr);
        fs::create_directory(work_.path / "w");
        fs::current_path(work_.path / "w");
        write_file("../empty", "");
    }
    ~Tool() override { fs::current_path(work_.path.root_path()); }

    static Run start(Words words, const std::string &input = "../empty") {
        words[0] = programs + "/" + words[0];
        const int code = run_program(words, input, "../out", "../err");
        return {code, read_file("../out"), read_file("../err")};
    }
    // Words between blanks, and "<FILE" at the end for the standard input. What comes is text.
    virtual Run run(const std::string &command) {
        std::istringstream stream(command);
        Words words(std::istream_iterator<std::string>(stream), {});
        const bool redirected = words.back()[0] == '<';
        const std::string input = redirected ? words.back().substr(1) : "../empty";
        words.resize(words.size() - (redirected ? 1 : 0));
        Run result = start(words, input);
        std::erase(result.out, '\r');
        std::erase(result.err, '\r');
        return result;
    }
    // Runs what has to succeed.
    std::string good(const std::string &command) {
        const Run result = run(command);
        EXPECT_EQ(result.code, 0) << command << "\n" << result.err;
        return result.out;
    }
    // What the command tells of one file.
    nlohmann::json info(const std::string &file) {
        return nlohmann::json::parse(good("zor info --json " + file))["files"][0];
    }
    // Runs what has to fail: arguments, exit code, a part of what is said. No file comes or goes.
    using Failing = std::tuple<const char *, int, const char *>;
    void expect_failures(const std::string &command, const std::vector<Failing> &cases) {
        const auto before = files();
        for (const auto &[arguments, code, message] : cases) {
            const Run result = run(command + arguments);
            EXPECT_EQ(result.code, code) << arguments << "\n" << result.err;
            EXPECT_THAT(result.err, testing::HasSubstr(message)) << arguments;
            EXPECT_EQ(result.err.find(".zor-"), std::string::npos) << result.err;
            EXPECT_EQ(files(), before) << arguments;
        }
    }
    static std::set<std::string> files() {
        std::set<std::string> names;
        for (const auto &entry : fs::directory_iterator("."))
            names.insert(entry.path().filename().string());
        return names;
    }

    // Absolute, for tests go elsewhere.
    inline static const std::string programs = fs::absolute(PROGRAMS).generic_string();
    inline static const std::string modules = fs::absolute(MODULES).generic_string();
    inline static const bool png = fs::exists(MODULES "/png" MODULE_SUFFIX); // which is optional

    TempDir work_;
};
