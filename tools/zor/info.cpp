// info.cpp - the command "zor info".
#include "commands.h"

#include <cstdlib>

#include <zor/zor.h>

#include "capability_view.h"
#include "input.h"
#include "json.h"
#include "text.h"

namespace zor {

namespace {

// A float as it was meant: 2.2 instead of 2.200000048.
double plain(float value) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.7g", static_cast<double>(value));
    return std::strtod(digits, nullptr);
}

const char *type_name(int32_t type) {
    static const char *const names[] = {"unknown", "integer", "float", "double"};
    return names[type >= ZOR_C_INTEGER && type <= ZOR_C_DOUBLE ? type : 0];
}

Json to_json(const ZOR_CHANNELS &group) {
    if (group.count == 0)
        return {{"count", 0}};
    return {{"count", group.count}, {"type", type_name(group.type)}, {"bits", group.bits}};
}

Json window(int32_t left, int32_t right, int32_t bottom, int32_t top) {
    return {{"left", left}, {"right", right}, {"bottom", bottom}, {"top", top}};
}

Json to_json(const ZOR_IMAGE_DESC &desc) {
    const bool tables = desc.curve.kind == 2;
    return {{"width", int64_t{desc.win_right} - desc.win_left + 1},
            {"height", int64_t{desc.win_top} - desc.win_bottom + 1},
            {"window", window(desc.win_left, desc.win_right, desc.win_bottom, desc.win_top)},
            {"active", window(desc.act_left, desc.act_right, desc.act_bottom, desc.act_top)},
            {"order", desc.orientation & ZOR_ORIENTATION_RISING ? "rising" : "falling"},
            {"colour", to_json(desc.image)},
            {"matte", to_json(desc.matte)},
            {"auxiliary", to_json(desc.aux)},
            {"channel_format", json_text(desc.chan_format)},
            {"auxiliary_name", json_text(desc.aux_name)},
            {"index_bits", desc.size_code},
            {"gamma", tables ? Json() : Json(plain(desc.curve.gamma))},
            {"picture",
             {{"format", json_text(desc.picture_format)},
              {"ratio", json_text(desc.ratio_text)},
              {"width", desc.picture_width},
              {"height", desc.picture_height},
              {"aspect", plain(desc.picture_aspect)}}},
            {"frame", desc.frame < 0 ? Json() : Json(desc.frame)}};
}

Json texts(const ZOR_INFO &info) {
    Json result = Json::object();
    const std::pair<const char *, const char *> all[] = {{"name", info.name},
                                                         {"description", info.description},
                                                         {"program", info.program},
                                                         {"machine", info.machine},
                                                         {"user", info.user},
                                                         {"date", info.date},
                                                         {"time", info.time},
                                                         {"filter", info.filter},
                                                         {"compression", info.compression}};
    for (const auto &[key, text] : all) {
        if (text != nullptr && *text != '\0')
            result[key] = text;
    }
    return result;
}

Json primaries(const float *values) {
    Json result = Json::object();
    for (const char *name : {"red", "green", "blue", "white"}) {
        result[name] = {plain(values[0]), plain(values[1])};
        values += 3;
    }
    return result;
}

// All there is to say about a file; only its name and an error when it cannot be opened.
Json examine(const std::string &file, const std::string &from, Reports &reports) {
    Json result = {{"file", file}};
    const Image image = open_input(file, from, reports);
    const Info info(ZOR_info_alloc());
    if (image == nullptr || info == nullptr || ZOR_info_from_image(info.get(), image.get()) != 0) {
        reports.explain();
        result["error"] = reports.last_error();
        return result;
    }
    const ZOR_FORMAT *format = ZOR_image_format(image.get());
    result["format"] = json_text(format->key);
    result["format_name"] = json_text(format->name);
    result["capabilities"] = to_json(capabilities_of(*format));
    result["texts"] = texts(*info);
    result["job"] = info->job_number < 0 ? Json() : Json(info->job_number);
    result["field"] = info->field_flag;
    result["frames"] = ZOR_image_num_frames(image.get());
    result["primaries"] = primaries(info->primaries);
    result["images"] = Json::array();
    for (int32_t i = 0; i < info->num_images; ++i)
        result["images"].push_back(to_json(info->images[i]));
    return result;
}

std::string number(const Json &value) { return value.is_null() ? "none" : value.dump(); }

std::string text(const Json &value) { return value.is_null() ? "" : value.get<std::string>(); }

std::string channel_text(const Json &group, const std::string &name) {
    std::string result = number(group["count"]);
    if (result != "0")
        result += " x " + number(group["bits"]) + "-bit " + text(group["type"]);
    if (result != "0" && !name.empty())
        result += " (" + name + ")";
    return result;
}

std::string window_text(const Json &window) {
    return number(window["left"]) + "," + number(window["bottom"]) + " to " +
           number(window["right"]) + "," + number(window["top"]);
}

void add_image(std::vector<std::vector<std::string>> &rows, const Json &image) {
    const Json &picture = image["picture"];
    rows.push_back({"size", number(image["width"]) + " x " + number(image["height"])});
    rows.push_back({"window", window_text(image["window"])});
    if (image["active"] != image["window"])
        rows.push_back({"active", window_text(image["active"])});
    rows.push_back({"order", text(image["order"])});
    rows.push_back({"colour", channel_text(image["colour"], text(image["channel_format"]))});
    rows.push_back({"matte", channel_text(image["matte"], "")});
    rows.push_back({"auxiliary", channel_text(image["auxiliary"], text(image["auxiliary_name"]))});
    rows.push_back({"gamma", image["gamma"].is_null() ? "tables" : number(image["gamma"])});
    std::string geometry = text(picture["format"]);
    add_to_list(geometry, number(picture["width"]) + " x " + number(picture["height"]));
    rows.push_back({"picture", geometry + ", aspect " + number(picture["aspect"])});
    rows.push_back({"frame", number(image["frame"])});
}

void print_text(const Json &file, const ZOR_FORMAT *format) {
    std::printf("%s: %s (%s)\n", printable(text(file["file"])).c_str(),
                printable(text(file["format"])).c_str(),
                printable(text(file["format_name"])).c_str());
    std::vector<std::vector<std::string>> rows;
    const Json &images = file["images"];
    for (size_t i = 0; i < images.size(); ++i) {
        if (images.size() > 1)
            rows.push_back({"image " + std::to_string(i + 1)});
        add_image(rows, images[i]);
    }
    if (file["frames"] > 1)
        rows.push_back({"frames", number(file["frames"])});
    for (const auto &[name, white] : file["primaries"].items())
        rows.push_back({name, number(white[0]) + " " + number(white[1])});
    for (const auto &[name, value] : file["texts"].items()) {
        if (value != "unknown")
            rows.push_back({name, text(value)});
    }
    if (format != nullptr)
        add_capabilities(rows, capabilities_of(*format));
    print_table(rows, "  ");
}

} // namespace

ExitCode show_info(const RuntimeOptions &options, const std::vector<std::string> &files,
                   const std::string &from, bool json) {
    Runtime runtime(options);
    if (!runtime.start())
        return EXIT_NO_START;
    if (!from.empty() && ZOR_find(from.c_str()) == nullptr) {
        runtime.reports().about({});
        runtime.reports().error("no format has the key '" + from + "'; zor formats lists them");
        return EXIT_WRONG_USAGE;
    }
    ExitCode code = EXIT_FINE;
    Json all = Json::array();
    for (const std::string &file : files) {
        Json result = examine(file, from, runtime.reports());
        const bool failed = result.contains("error");
        if (failed)
            code = EXIT_INPUT_FAILED;
        if (json)
            all.push_back(std::move(result));
        else if (!failed)
            print_text(result, ZOR_find(text(result["format"]).c_str()));
    }
    if (json)
        print_json({{"files", all}});
    return code;
}

} // namespace zor
