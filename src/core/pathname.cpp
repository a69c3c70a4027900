// pathname.cpp - puts path names together from directory, base name, frame number and extension.
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/base/owned.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/str.h"
#include "zor/zor.h"

namespace {

constexpr size_t default_frame_digits = 4;

// A path being written. Without a buffer it only measures, so that one function serves to find the
// size and to fill the buffer.
struct Path {
    char *buffer;
    uint64_t length;

    void put(std::string_view text) {
        if (buffer != nullptr)
            std::memcpy(buffer + length, text.data(), text.size());
        length += text.size();
    }
    void put_frame(int32_t frame, size_t digits) {
        char number[12];
        const int count = std::snprintf(number, sizeof number, "%" PRId32, frame);
        for (auto written = static_cast<size_t>(count); written < digits; ++written)
            put("0");
        put(number);
    }
};

char *failed(int32_t status) {
    zor::set_status(status);
    return nullptr;
}

// A name with a root or a host of its own is complete without a directory.
bool stands_alone(const char *base) {
    return zor::platform::is_absolute(base) || STR_filename_host(nullptr, base) != 0;
}

// A new path of a directory and the name that write(Path &) puts after it. The name may not be
// empty.
template<class Write>
char *build_path(const char *directory, const char *base, Write write) {
    if (base == nullptr || base[0] == '\0')
        return failed(ZOR_E_OPEN);
    const std::string_view front = directory == nullptr || stands_alone(base) ? "" : directory;
    const std::string_view slash = front.empty() || front.back() == '/' ? "" : "/";
    const auto write_all = [&](Path &path) {
        path.put(front);
        path.put(slash);
        write(path);
    };

    Path measured = {nullptr, 0};
    write_all(measured);
    if (measured.length == front.size() + slash.size())
        return failed(ZOR_E_OPEN);
    char *result = measured.length > INT32_MAX
                       ? nullptr
                       : STR_more(nullptr, static_cast<int32_t>(measured.length));
    if (result == nullptr)
        return failed(ZOR_E_MEMORY);
    Path path = {result, 0};
    write_all(path);
    result[path.length] = '\0';
    return result;
}

// What a file name is made of.
struct Parts {
    std::string_view base;
    int32_t frame; // negative: none
    std::string_view extension;
};

void put_element(Path &path, const ZOR_NAME_ELEMENT &element, const Parts &parts) {
    switch (element.kind) {
    case ZOR_NAME_NAME:
        path.put(parts.base);
        break;
    case ZOR_NAME_EXTENSION: // the syntax has a dot of its own
        path.put(parts.extension.substr(parts.extension.starts_with('.') ? 1 : 0));
        break;
    case ZOR_NAME_FRAME:
        if (parts.frame >= 0)
            path.put_frame(parts.frame, static_cast<size_t>(element.length));
        break;
    default:
        path.put({element.text, static_cast<size_t>(element.length)});
    }
}

// Writes the elements of a syntax and notes in each where its value stands. A literal before a
// frame number that is not there only separated the two, so it goes too.
void put_elements(Path &path, ZOR_NAME_ELEMENT *elements, const Parts &parts) {
    const uint64_t start = path.length;
    for (ZOR_NAME_ELEMENT *element = elements; element->kind != ZOR_NAME_END; ++element) {
        const uint64_t offset = path.length - start;
        const bool dropped = parts.frame < 0 && element->kind == ZOR_NAME_LITERAL &&
                             element[1].kind == ZOR_NAME_FRAME;
        if (!dropped)
            put_element(path, *element, parts);
        element->value_offset = static_cast<int32_t>(offset);
        element->value_length = static_cast<int32_t>(path.length - start - offset);
    }
}

std::string_view text_or_nothing(const char *text) { return text != nullptr ? text : ""; }

} // namespace

char *ZOR_pathname_build_from_name_syntax(const char *syntax, const char *directory,
                                          const char *base, int32_t frame, const char *extension) {
    ZOR_NAME_ELEMENT *parsed = nullptr;
    if (ZOR_name_syntax_verify(syntax) == 0 || ZOR_parse_name_syntax(syntax, &parsed, 0) == 0)
        return nullptr;
    const zor::Owned<ZOR_NAME_ELEMENT> elements(parsed);
    const Parts parts = {text_or_nothing(base), frame, text_or_nothing(extension)};
    return build_path(directory, base,
                      [&](Path &path) { put_elements(path, elements.get(), parts); });
}

char *ZOR_pathname_build_no_name_syntax(const char *directory, const char *base,
                                        const char *extension) {
    const std::string_view name = text_or_nothing(base);
    const std::string_view end = text_or_nothing(extension);
    return build_path(directory, base, [&](Path &path) {
        path.put(name);
        if (!name.ends_with(end)) // never "a.mox.mox"
            path.put(end);
    });
}

char *ZOR_pathname_build(const char *directory, const char *base, int32_t frame,
                         const char *extension, const char *syntax) {
    if (syntax != nullptr && syntax[0] != '\0')
        return ZOR_pathname_build_from_name_syntax(syntax, directory, base, frame, extension);
    if (frame < 0)
        return ZOR_pathname_build_no_name_syntax(directory, base, extension);
    return build_path(directory, base, [&](Path &path) {
        path.put(base);
        path.put(".");
        path.put_frame(frame, default_frame_digits);
        path.put(text_or_nothing(extension));
    });
}
