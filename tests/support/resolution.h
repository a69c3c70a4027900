// resolution.h - another resolution of gamma tables for the length of a scope.
#pragma once

#include "fmt/config.h"
#include "support/home.h"
#include "zor/fmt.h"

class Resolution {
public:
    explicit Resolution(int n) { set(n); }
    ~Resolution() { set(4096); } // numbers outlive the database
    Resolution(Resolution &&) = delete;

private:
    void set(int n) const {
        FMT_exit();
        config_close();
        write_file(home_.file, "fmt__gamma_table_res " + std::to_string(n) + "\n");
        FMT_init(nullptr);
    }
    Home home_;
};
