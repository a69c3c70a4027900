// loader.cpp - the search for modules and the library's start with them.
#include "loader.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include <zor/zor.h>

#include "paths.h"
#include "system.h"

namespace zor {
namespace fs = std::filesystem;

namespace {

// The modules that ZOR_init is asking for. The enumerator takes no argument of the application's,
// so this has to live here; it means something during Loader::start only.
struct {
    std::vector<Module> *modules;
    size_t next;
} delivery;

unsigned char deliver(void **module, const char **name) {
    if (delivery.next == delivery.modules->size())
        return 0;
    const Module &found = (*delivery.modules)[delivery.next++];
    *module = found.handle;
    *name = found.name.c_str();
    return 1;
}

// Keeps what the library says about the module it was handed last, and lets the report pass.
int note_refusal(const char *, int severity, const char *message, ERR_OBJECT *, void *) {
    if (severity < ERR_ERROR || delivery.next == 0)
        return 1;
    Module &module = (*delivery.modules)[delivery.next - 1];
    const size_t length = module.name.size();
    if (std::strncmp(message, module.name.c_str(), length) != 0 ||
        std::strncmp(message + length, ": ", 2) != 0)
        return 1;
    try {
        module.refusal = message + length + 2;
    } catch (...) { // the report itself goes on to whoever is next
        return 1;
    }
    return 1;
}

std::vector<std::string> split(const std::string &list, char separator) {
    std::vector<std::string> parts;
    for (size_t begin = 0; begin <= list.size();) {
        const size_t end = std::min(list.find(separator, begin), list.size());
        if (end > begin)
            parts.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

} // namespace

std::vector<std::string> module_directories(const std::vector<std::string> &wanted) {
    if (!wanted.empty())
        return wanted;
    if (const std::string listed = environment_text("ZOR_MODULES"); !listed.empty())
        return split(listed, search_path_separator);

    const fs::path program = program_directory();
    std::vector<std::string> directories;
    for (const fs::path &place : {program / "modules", program.parent_path() / "modules",
                                  program.parent_path() / ZOR_MODULE_INSTALL_DIR}) {
        std::error_code ignored;
        if (!program.empty() && fs::is_directory(place, ignored))
            directories.push_back(to_text(place));
    }
    return directories;
}

Loader::Loader(const std::vector<std::string> &directories) {
    for (const std::string &directory : directories)
        load_directory(directory);
}

void Loader::load_directory(const std::string &directory) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator entry(to_path(directory), error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == module_suffix)
            files.push_back(entry->path());
    }
    if (error)
        unreadable_.push_back(directory + ": " + error.message());
    std::sort(files.begin(), files.end());
    for (const fs::path &file : files) {
        Module module;
        module.path = to_text(file);
        module.name = to_text(file.filename());
        const bool known = std::any_of(modules_.begin(), modules_.end(), [&](const Module &other) {
            return other.name == module.name;
        });
        if (known)
            continue;
        module.handle = load_module(module.path, module.refusal);
        modules_.push_back(std::move(module));
    }
}

int Loader::start(void *catalogue) {
    for (const std::string &directory : unreadable_)
        ERR_printf(ERR_WARNING, "%s", directory.c_str());
    for (const Module &module : modules_) {
        if (module.handle == nullptr)
            ERR_printf(ERR_WARNING, "%s: cannot load this module; %s", module.path.c_str(),
                       module.refusal.c_str());
    }
    delivery = {&modules_, 0};
    ERR_dcl_handler(nullptr, note_refusal, nullptr);
    const int result = ZOR_init(catalogue, deliver);
    ERR_can_handler(nullptr);
    delivery = {};
    if (result == 0)
        note_the_dropped();
    return result;
}

// Two ways out of the registry earn no report: a module may decline to start, and of two with one
// key the later one counts. The registry shares a module's own texts, which tells whose entry it
// is.
void Loader::note_the_dropped() {
    for (Module &module : modules_) {
        if (module.handle == nullptr || !module.in_use())
            continue;
        const char *key = nullptr;
        if (const void *symbol = module_symbol(module.handle, "imageKey"); symbol != nullptr)
            std::memcpy(&key, symbol, sizeof key);
        const ZOR_FORMAT *format = key != nullptr ? ZOR_find(key) : nullptr;
        if (format == nullptr)
            module.refusal = "it declined to start";
        else if (format->key != key)
            module.refusal = std::string("another module has its key, ") + key;
    }
    ZOR_init(nullptr, nullptr); // ZOR_find moved the cursor of ZOR_info
}

Loader::~Loader() {
    ZOR_exit();
    for (const Module &module : modules_) {
        if (module.handle != nullptr)
            unload_module(module.handle);
    }
}

} // namespace zor
