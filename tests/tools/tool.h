// tool.h - runs programs as users run them.
#pragma once

#include <cstdlib>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "picture.h"
#include "support/files.h"

namespace fs = std::filesystem;

// Each test works in an empty directory of its own, the programs in the search path.
class Tool : public testing::Test {
protected:
    struct Run {
        int code; // exit code; of a program that a signal ended 128 and the signal's number
        std::string out, err;
    };

    Tool() {
        unsetenv("ZOR_MODULES");
        setenv("PATH", (PROGRAMS ":" + path_).c_str(), 1);
        fs::create_directory(work_.path / "w");
        fs::current_path(work_.path / "w");
    }
    ~Tool() override {
        setenv("PATH", path_.c_str(), 1);
        fs::current_path("/");
    }

    static Run run(const std::string &command) {
        const int status = std::system(("( " + command + " ) >../out 2>../err").c_str());
        return {WEXITSTATUS(status), read_file("../out"), read_file("../err")};
    }
    // Runs what has to succeed.
    static std::string good(const std::string &command) {
        const Run result = run(command);
        EXPECT_EQ(result.code, 0) << command << "\n" << result.err;
        return result.out;
    }
    // Runs what has to fail: arguments, exit code, a part of what is said. No file comes or goes.
    using Failing = std::tuple<const char *, int, const char *>;
    static void expect_failures(const std::string &command, const std::vector<Failing> &cases) {
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

    TempDir work_;
    std::string path_ = std::getenv("PATH");
};
