// system.h - where fuzz targets put their inputs. What does not work there ends the program.
#pragma once

#include <cstdint>

#include "support/home.h"

// Takes the home directory away, so that nobody's configuration is read.
inline void leave_home() { set_variable("HOME", nullptr); }

// Puts an input into a file. Returns its name.
inline const std::string &put_into(const std::string &name, const uint8_t *data, size_t size) {
    std::ofstream file(name, std::ios::binary);
    file.write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
    if (!file.flush())
        std::abort();
    return name;
}

// The configuration file of a home directory made for it, which goes when the program ends.
inline void put_configuration(const uint8_t *data, size_t size) {
    static const Home home;
    put_into(home.file, data, size);
}

// A file of any format.
inline const std::string &put_file(const uint8_t *data, size_t size) {
    static const TempDir directory;
    static const std::string name = (directory.path / "input").string();
    return put_into(name, data, size);
}
