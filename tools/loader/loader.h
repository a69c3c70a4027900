// loader.h - finds driver modules, loads them and starts the library with them.
//
//     zor::Loader library(zor::module_directories());
//     if (library.start() != 0)
//         return 1;                            // reported already
//     ...                                      // ZOR_open and so on
//                                              // the loader's end is the library's
//
// A program has one loader at a time; images must be closed before it goes.
#pragma once

#include <string>
#include <vector>

namespace zor {

// A module file that was found.
struct Module {
    std::string path;
    std::string name;       // of the file; the library's messages about the module start with it
    void *handle = nullptr; // null: the system could not load it
    std::string refusal;    // why the module is not in use; empty: it is

    [[nodiscard]] bool in_use() const { return refusal.empty(); }
};

// Where to look for modules: the directories wanted, if any; else those that the environment
// variable ZOR_MODULES lists as PATH lists its own; else those beside the running program that
// exist.
std::vector<std::string> module_directories(const std::vector<std::string> &wanted = {});

class Loader {
public:
    // Loads every module file of the directories, in the order of the directories, then of the
    // names. Of several files with one name the first counts.
    explicit Loader(const std::vector<std::string> &directories);

    // Ends the library and unloads the modules.
    ~Loader();
    Loader(const Loader &) = delete;
    Loader &operator=(const Loader &) = delete;

    // Starts the library with the modules. Directories that could not be read and modules that
    // could not be loaded or are not fit for use are reported; modules() says why. Returns what
    // ZOR_init returned.
    int start(void *catalogue = nullptr);

    [[nodiscard]] const std::vector<Module> &modules() const { return modules_; }

private:
    void load_directory(const std::string &directory);
    void note_the_dropped();

    std::vector<Module> modules_;
    std::vector<std::string> unreadable_; // directories, each with the reason
};

} // namespace zor
