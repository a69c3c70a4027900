// system.h - what the loader needs of the operating system; one implementation for each.
#pragma once

#include <filesystem>
#include <string>

namespace zor {

extern const char module_suffix[];       // ".so"
extern const char search_path_separator; // between the directories of a search path: ':'

// An environment variable in UTF-8; empty when it is not set.
std::string environment_text(const char *name);

// Loads a module; null on failure, the reason then in error.
void *load_module(const std::string &path, std::string &error);
void unload_module(void *handle);

// Address of a module's symbol; null when it has none of that name.
void *module_symbol(void *handle, const char *name);

// Directory of the running program; empty when the system does not tell.
std::filesystem::path program_directory();

} // namespace zor
