// input.cpp - finding out what format a file is of, and opening it.
#include "input.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <zor/messages.h>
#include <zor/str.h>

#include "loader/paths.h"
#include "system.h"

namespace zor {
namespace fs = std::filesystem;

namespace {

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

bool ends_with(const std::string &text, const std::string &ending) {
    const auto same = [](unsigned char a, unsigned char b) {
        return std::tolower(a) == std::tolower(b);
    };
    return text.size() >= ending.size() &&
           std::equal(ending.rbegin(), ending.rend(), text.rbegin(), same);
}

// Key of the format of an open file, or null. Several formats may recognise one file: the one that
// the name promises counts most, then the default one.
const char *recognise(std::string file, std::FILE *stream) {
    const ZOR_FORMAT *promised = format_of_name(file);
    unsigned char tried = 0;
    for (const char *key : {promised != nullptr ? promised->key : nullptr, ZOR_def_key()}) {
        if (key != nullptr && ZOR_is_file_type(file.data(), stream, key, &tried) != nullptr)
            return key;
    }
    const char *key = ZOR_get_file_type(file.data(), stream, &tried);
    if (key != nullptr && ZOR_find(key) != nullptr) // else it is none of the formats'
        return key;
    // Where the name promises a format, that one can say what is wrong with the file.
    return promised != nullptr ? promised->key : nullptr;
}

// The same for a name; empty, after a message, when there is none.
std::string recognise(const std::string &file, Reports &reports) {
    std::error_code error;
    const fs::file_status status = fs::status(to_path(file), error);
    if (fs::is_directory(status)) {
        reports.error(std::strerror(EISDIR));
        return {};
    }
    // Looking into a pipe would take away what the driver is to read.
    if (is_standard_input(file) || (fs::exists(status) && !fs::is_regular_file(status))) {
        reports.error("name the format with --from; only files tell theirs by their content");
        return {};
    }
    const std::unique_ptr<std::FILE, CloseFile> stream(open_file(file, "rb"));
    if (stream == nullptr) {
        reports.error(std::strerror(errno));
        return {};
    }
    const char *key = recognise(file, stream.get());
    if (key == nullptr)
        reports.error("no format recognises this file");
    return key != nullptr ? key : "";
}

} // namespace

bool is_standard_input(const std::string &file) { return file == "-" || file == "/dev/stdin"; }

bool is_plain_file(const std::string &file) {
    std::error_code error;
    return !is_standard_input(file) && fs::is_regular_file(to_path(file), error);
}

bool is_standard_output(const std::string &file) { return file == "-" || file == "/dev/stdout"; }

const ZOR_FORMAT *format_of_name(const std::string &file) {
    const ZOR_FORMAT *best = nullptr;
    ZOR_init(nullptr, nullptr); // rewinds ZOR_info
    while (const ZOR_FORMAT *format = ZOR_info()) {
        const size_t length = std::strlen(format->extension);
        if (length > 0 && ends_with(file, format->extension) &&
            (best == nullptr || length > std::strlen(best->extension)))
            best = format;
    }
    return best;
}

bool is_built_in(const ZOR_FORMAT &format) {
    const ZOR_FORMAT *module = nullptr;
    ZOR_init(nullptr, nullptr); // rewinds ZOR_info
    do
        module = ZOR_info();
    while (module != nullptr && module != &format);
    return module == nullptr;
}

bool set_text(char *&field, const std::string &text) {
    ERR_free(field);
    field = STR_save(text.c_str());
    if (field == nullptr)
        zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
    return field != nullptr;
}

Image open_input(const std::string &file, const std::string &key, Reports &reports) {
    reports.about(file);
    const std::string format = key.empty() ? recognise(file, reports) : key;
    if (format.empty())
        return nullptr;
    const ZOR_FORMAT *named = key.empty() ? nullptr : ZOR_find(key.c_str());
    if (named != nullptr && is_built_in(*named)) {
        reports.error("no file is of the format '" + key + "'");
        return nullptr;
    }
    const Info info(ZOR_info_alloc());
    if (info == nullptr || !set_text(info->key, format) ||
        !set_text(info->file_name, is_standard_input(file) ? "/dev/stdin" : file))
        return nullptr;
    info->complete_path = 1;
    return Image(ZOR_open(info.get(), "r"));
}

} // namespace zor
