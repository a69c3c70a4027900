// runtime.h - the library, started with the modules that were found.
#pragma once

#include <string>
#include <vector>

#include "loader/loader.h"
#include "reports.h"

namespace zor {

struct RuntimeOptions {
    std::vector<std::string> module_directories; // empty: see module_directories()
    bool quiet = false;
};

class Runtime {
public:
    explicit Runtime(const RuntimeOptions &options);

    // Starts the library. Returns false, after a message, unless it has a format from a module.
    bool start();

    [[nodiscard]] Reports &reports() { return reports_; }
    [[nodiscard]] const std::vector<Module> &modules() const { return loader_.modules(); }

private:
    LibraryReports library_reports_;
    Reports reports_;
    std::vector<std::string> directories_;
    Loader loader_;
};

} // namespace zor
