// formats.cpp - the command "zor formats".
#include "commands.h"

#include <zor/zor.h>

#include "capability_view.h"
#include "input.h"
#include "json.h"
#include "text.h"

namespace zor {

namespace {

// The channels of one kind that a format can store.
struct Room {
    const char *name;
    int32_t channels;
    uint32_t widths; // bit n - 1 for n bits
};

std::vector<Room> rooms(const ZOR_FORMAT &format) {
    return {{"colour", format.num_channels, format.bits_per_channel},
            {"matte", format.num_mattes, format.bits_per_matte},
            {"auxiliary", format.num_z, format.bits_per_z}};
}

bool has_width(uint32_t widths, int bits) { return bits <= 32 && (widths >> (bits - 1) & 1) != 0; }

// Such as "1-8,16".
std::string width_ranges(uint32_t widths) {
    std::string ranges;
    for (int first = 1; first <= 32; ++first) {
        if (!has_width(widths, first))
            continue;
        int last = first;
        while (has_width(widths, last + 1))
            ++last;
        std::string range = std::to_string(first);
        if (last > first)
            range.append("-").append(std::to_string(last));
        add_to_list(ranges, range, ",");
        first = last;
    }
    return ranges;
}

std::string channel_text(const ZOR_FORMAT &format) {
    std::string text;
    for (const Room &room : rooms(format)) {
        if (room.channels == 0)
            continue;
        std::string one = std::to_string(room.channels) + " " + room.name;
        if (room.widths != 0)
            one.append(" (").append(width_ranges(room.widths)).append(" bits)");
        add_to_list(text, one);
    }
    return text;
}

std::string access_text(const ZOR_FORMAT &format) {
    const bool read = (format.access & ZOR_ACCESS_READ) != 0;
    const bool write = (format.access & ZOR_ACCESS_WRITE) != 0;
    return read && write ? "r/w" : read ? "r" : write ? "w" : "-";
}

Json to_json(const ZOR_FORMAT &format) {
    Json channels = Json::object();
    for (const Room &room : rooms(format)) {
        Json bits = Json::array();
        for (int n = 1; n <= 32; ++n) {
            if (has_width(room.widths, n))
                bits.push_back(n);
        }
        channels[room.name] = {{"most", room.channels}, {"bits", bits}};
    }
    return {{"key", json_text(format.key)},
            {"extension", json_text(format.extension)},
            {"name", json_text(format.name)},
            {"description", json_text(format.description)},
            {"read", (format.access & ZOR_ACCESS_READ) != 0},
            {"write", (format.access & ZOR_ACCESS_WRITE) != 0},
            {"built_in", is_built_in(format)},
            {"random_read", (format.access & ZOR_ACCESS_RANDOM_READ) != 0},
            {"random_write", (format.access & ZOR_ACCESS_RANDOM_WRITE) != 0},
            {"rising", (format.orientation & ZOR_ORIENTATION_RISING) != 0},
            {"sub_images", (format.usage & ZOR_USAGE_SUB_IMAGES) != 0},
            {"multi_frame", format.multi_frame != 0},
            {"active_window", format.active_window != 0},
            {"palette_bits", format.bits_per_palette_entry},
            {"name_syntax", json_text(format.name_syntax)},
            {"channels", channels},
            {"capabilities", to_json(capabilities_of(format))}};
}

const char *state(const Module &module) {
    return module.in_use() ? "loaded" : module.handle != nullptr ? "refused" : "not loaded";
}

Json to_json(const Module &module) {
    return {{"path", module.path},
            {"state", state(module)},
            {"reason", module.in_use() ? Json() : Json(module.refusal)}};
}

// What the bits and numbers of a driver say, a row each.
std::vector<std::vector<std::string>> declarations(const ZOR_FORMAT &format) {
    const auto has = [&](int32_t bit) { return (format.access & bit) != 0; };
    std::string access;
    if (has(ZOR_ACCESS_READ))
        add_to_list(access, has(ZOR_ACCESS_RANDOM_READ) ? "read in any order" : "read");
    if (has(ZOR_ACCESS_WRITE))
        add_to_list(access, has(ZOR_ACCESS_RANDOM_WRITE) ? "write in any order" : "write");
    std::string holds =
        (format.orientation & ZOR_ORIENTATION_RISING) != 0 ? "rising lines" : "falling lines";
    if ((format.usage & ZOR_USAGE_SUB_IMAGES) != 0)
        add_to_list(holds, "several images");
    if (format.multi_frame != 0)
        add_to_list(holds, "several frames");
    if (format.active_window != 0)
        add_to_list(holds, "active windows");
    if (format.bits_per_palette_entry != 0)
        add_to_list(holds, "palettes of " + std::to_string(format.bits_per_palette_entry) +
                               " bits an entry");

    std::vector<std::vector<std::string>> rows = {{"access", access}, {"files", holds}};
    if (format.description != nullptr)
        rows.insert(rows.begin(), {"what", format.description});
    for (const Room &room : rooms(format)) {
        if (room.channels == 0)
            continue;
        std::string text = "up to " + std::to_string(room.channels);
        if (room.widths != 0)
            text += ", integers of " + width_ranges(room.widths) + " bits";
        rows.push_back({room.name, text});
    }
    if (format.name_syntax != nullptr)
        rows.push_back({"names", format.name_syntax});
    add_capabilities(rows, capabilities_of(format));
    return rows;
}

void print_modules(const std::vector<Module> &modules) {
    std::vector<std::vector<std::string>> rows = {{"MODULE", "STATE"}};
    for (const Module &module : modules)
        rows.push_back(
            {module.path, state(module) + (module.in_use() ? "" : ": " + module.refusal)});
    std::printf("\n");
    print_table(rows);
}

void print_text(const std::vector<const ZOR_FORMAT *> &formats, const std::vector<Module> &modules,
                bool verbose) {
    std::vector<std::vector<std::string>> rows = {
        {"KEY", "EXTENSION", "NAME", "ACCESS", "CHANNELS"}};
    for (const ZOR_FORMAT *format : formats)
        rows.push_back({format->key, format->extension, format->name, access_text(*format),
                        channel_text(*format)});
    print_table(rows);
    if (!verbose)
        return;
    for (const ZOR_FORMAT *format : formats) {
        std::printf("\n%s\n", printable(format->key).c_str());
        print_table(declarations(*format), "  ");
    }
    print_modules(modules);
}

} // namespace

ExitCode list_formats(const RuntimeOptions &options, bool verbose, bool json) {
    Runtime runtime(options);
    const bool usable = runtime.start(); // the modules are of interest all the more when not
    std::vector<const ZOR_FORMAT *> formats;
    while (const ZOR_FORMAT *format = ZOR_info())
        formats.push_back(format);
    for (const char *key : {"pipe", "mem"}) { // a module may have brought a format of that key
        const ZOR_FORMAT *format = ZOR_find(key);
        if (format != nullptr && is_built_in(*format))
            formats.push_back(format);
    }
    if (json) {
        Json result = {{"formats", Json::array()}, {"modules", Json::array()}};
        for (const ZOR_FORMAT *format : formats)
            result["formats"].push_back(to_json(*format));
        for (const Module &module : runtime.modules())
            result["modules"].push_back(to_json(module));
        print_json(result);
    } else {
        print_text(formats, runtime.modules(), verbose);
    }
    return usable ? EXIT_FINE : EXIT_NO_START;
}

} // namespace zor
