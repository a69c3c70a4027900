// home.h - a home directory of a test's own, for the configuration file.
#pragma once

#include <string>

#include "support/files.h"

struct Home {
    Home() {
        std::filesystem::create_directory(path + "/userconfig");
        set_variable("HOME", path.c_str());
        set_variable("QK_ROOT", nullptr);
    }

    const TempDir directory;
    const std::string path = directory.path.string();
    const std::string file = path + "/.zorrc";
};
