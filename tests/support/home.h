// home.h - a home directory of a test's own, for the configuration file.
#pragma once

#include <string>

#include "support/files.h"

struct Home {
    Home() {
        std::filesystem::create_directory(path + "/userconfig");
        setenv("HOME", path.c_str(), 1);
        unsetenv("QK_ROOT");
    }

    const TempDir directory;
    const std::string path = directory.path;
    const std::string file = path + "/.zorrc";
};
