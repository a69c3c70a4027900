// tool.h - runs programs as users run them.
#pragma once

#include <cstdlib>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "picture.h"

namespace fs = std::filesystem;

// Each test works in an empty directory of its own, the programs in the search path.
class Tool : public testing::Test {
protected:
    struct Run {
        int code; // exit code; of a program that a signal ended 128 and the signal's number
        std::string out, err;
    };

    void SetUp() override {
        unsetenv("ZOR_MODULES");
        setenv("PATH", (PROGRAMS ":" + path_).c_str(), 1);
        std::string name = (fs::temp_directory_path() / "zor-test-XXXXXX").string();
        work_ = mkdtemp(name.data());
        fs::create_directory(work_ / "w");
        fs::current_path(work_ / "w");
    }
    void TearDown() override {
        setenv("PATH", path_.c_str(), 1);
        fs::current_path("/");
        fs::remove_all(work_);
    }

    Run run(const std::string &command) {
        const fs::path out = work_ / "out";
        const fs::path err = work_ / "err";
        const int status =
            std::system(("( " + command + " ) >" + out.string() + " 2>" + err.string()).c_str());
        return {WEXITSTATUS(status), read_file(out), read_file(err)};
    }
    // Runs what has to succeed.
    std::string good(const std::string &command) {
        const Run result = run(command);
        EXPECT_EQ(result.code, 0) << command << "\n" << result.err;
        return result.out;
    }
    static std::set<std::string> files() {
        std::set<std::string> names;
        for (const auto &entry : fs::directory_iterator("."))
            names.insert(entry.path().filename().string());
        return names;
    }

    fs::path work_;
    std::string path_ = std::getenv("PATH");
};
