// format.h - the library with one format, whose module is part of the program.
#pragma once

#include "support/info.h"
#include "watch.h"
#include "zor/driver.h"

// Starts the library with that format alone, the first time. Always true.
template<const char *key>
bool start_format() {
    static const bool started = [] {
        leave_home();
        watch::start();
        const auto next_module = [](void **module, const char **name) -> unsigned char {
            static int delivered;
            *module = this_program();
            *name = key;
            return delivered++ == 0 ? 1 : 0;
        };
        check(ZOR_init(nullptr, next_module) == 0);
        ZOR_multiframe_set(0, 0); // every input is a file of its own, though the name is the same
        return true;
    }();
    return started;
}

// A request for a file of that name as it stands.
struct Request : Info {
    Request(const std::string &path, const char *format) : Info(path.c_str(), format) {
        complete_path = 1;
    }
};

// A status is 0 or a failure that was reported, and left in zor__err.
inline bool is_sound(int status) {
    return status == 0 || (status < 0 && watch::reported && zor__err == status);
}
