// shell.h - runs commands through a POSIX shell, the programs in the search path.
#pragma once

#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

#include "tool.h"

class Shell : public Tool {
protected:
    Shell() { setenv("PATH", (PROGRAMS ":" + path_).c_str(), 1); }
    ~Shell() override { setenv("PATH", path_.c_str(), 1); }

    Run run(const std::string &command) override {
        const int status = std::system(("( " + command + " ) >../out 2>../err").c_str());
        return {WEXITSTATUS(status), read_file("../out"), read_file("../err")};
    }

    std::string path_ = std::getenv("PATH");
};
