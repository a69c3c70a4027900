// convert_image.cpp - opening both sides of a conversion and agreeing on what is carried over.
#include "convert_image.h"

#include <cstring>
#include <utility>
#include <vector>

#include "copy_rows.h"
#include "input.h"
#include "interrupt.h"
#include "output_file.h"
#include "text.h"

namespace zor {

namespace {

const char *display_name(const std::string &file, const char *stream) {
    return file == "-" ? stream : file.c_str();
}

// The keys and extensions to choose from, for messages.
std::string known_formats() {
    std::string list;
    ZOR_init(nullptr, nullptr); // rewinds ZOR_info
    while (const ZOR_FORMAT *format = ZOR_info())
        add_to_list(list, std::string(format->key) + " (" + format->extension + ")");
    return list;
}

const ZOR_FORMAT *find_key(const std::string &key, Reports &reports) {
    const ZOR_FORMAT *format = ZOR_find(key.c_str());
    if (format == nullptr)
        reports.error("no format has the key '" + key + "'; there are " + known_formats());
    return format;
}

// Whether a format can be written where the user wants it. Of those that the library carries one
// makes a stream, and images of the other end with the command.
bool has_place(const ZOR_FORMAT &format, const std::string &output, Reports &reports) {
    if (!is_built_in(format))
        return true;
    const bool streams = std::strcmp(format.key, "pipe") == 0;
    if (!streams)
        reports.error("images of the format '" + std::string(format.key) +
                      "' do not outlive the command");
    else if (!is_standard_output(output))
        reports.error("the format 'pipe' goes to the standard output: name it, as -");
    return streams && is_standard_output(output);
}

// The output's format, by key or by extension; null after a message.
const ZOR_FORMAT *choose_output(const std::string &output, const std::string &key,
                                Reports &reports) {
    const ZOR_FORMAT *format = nullptr;
    if (!key.empty()) {
        format = find_key(key, reports);
        return format != nullptr && has_place(*format, output, reports) ? format : nullptr;
    }
    if (is_standard_output(output))
        reports.error("name the format with --to; there are " + known_formats());
    else if (format = format_of_name(output); format == nullptr)
        reports.error("no format has this extension, and there is no --to; there are " +
                      known_formats());
    return format;
}

std::string counted(int32_t count, const char *thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

// The picture on its way: what is to be written, and which of the input's channels go there.
struct Plan {
    Info info;
    int32_t frames = 0; // of the input file
    std::vector<int32_t> channels;
};

// Says what is left out, and why. Returns whether that is acceptable.
bool leave_out(const std::string &what, const std::string &why, const Conversion &conversion,
               Reports &reports) {
    if (conversion.strict)
        reports.error(what + " would be left out: " + why);
    else
        reports.warning(what + " left out: " + why);
    return !conversion.strict;
}

// Whether a format has auxiliary channels of bytes.
bool takes_bytes(const ZOR_FORMAT &format) {
    return format.num_z > 0 && (format.bits_per_z & 1U << 7) != 0;
}

void free_texts(ZOR_IMAGE_DESC &desc) {
    for (char *text : {desc.chan_format, desc.aux_name, desc.picture_format, desc.ratio_text})
        ERR_free(text);
}

// Keeps the first image only.
bool drop_sub_images(ZOR_INFO &info, const Conversion &conversion, Reports &reports) {
    if (info.num_images <= 1)
        return true;
    for (int32_t i = 1; i < info.num_images; ++i)
        free_texts(info.images[i]);
    const int32_t dropped = std::exchange(info.num_images, 1) - 1;
    return leave_out(counted(dropped, "further image"), "one is converted", conversion, reports);
}

// The first frame is the one that is shown when a file is opened.
bool drop_frames(const Plan &plan, const Conversion &conversion, Reports &reports) {
    return plan.frames <= 1 || leave_out(counted(plan.frames - 1, "further frame"),
                                         "the first is converted", conversion, reports);
}

// Lists the channels that go over; groups that the format has no place for are cleared.
bool choose_channels(Plan &plan, const Conversion &conversion, Reports &reports) {
    const ZOR_FORMAT &format = *conversion.to;
    ZOR_IMAGE_DESC &desc = plan.info->images[0];
    const struct {
        ZOR_CHANNELS *group;
        const char *name;
        int32_t room;
    } groups[] = {{&desc.image, "colour channel", format.num_channels},
                  {&desc.matte, "matte channel", format.num_mattes},
                  {&desc.aux, "auxiliary channel", format.num_z}};
    const std::string no_place = std::string(format.key) + " has no place for that";
    int32_t next = 0;
    for (const auto &[group, name, room] : groups) {
        const int32_t first = std::exchange(next, next + group->count);
        if (group->count > 0 && room == 0) {
            if (!leave_out(counted(group->count, name), no_place, conversion, reports))
                return false;
            *group = {};
            if (group == &desc.aux)
                ERR_free(std::exchange(desc.aux_name, nullptr));
            continue;
        }
        for (int32_t channel = first; channel < next; ++channel)
            plan.channels.push_back(channel);
    }
    return true;
}

// All that is known of the input, as operators make it.
bool describe_input(Plan &plan, ZOR_IMAGE *input, const Conversion &conversion, Reports &reports) {
    const std::optional<Outcome> outcome =
        push_operators(input, conversion.operations, takes_bytes(*conversion.to), reports);
    if (!outcome.has_value())
        return false;
    plan.info.reset(ZOR_info_alloc());
    if (plan.info == nullptr || ZOR_info_from_image(plan.info.get(), input) != 0)
        return reports.explain(), false;
    plan.frames = ZOR_image_num_frames(input);
    if (plan.info->num_images < 1) {
        reports.error("there is no image in this file");
        return false;
    }
    if (plan.info->images[0].chan_flag != 1) {
        reports.error("interleaved channels cannot be converted");
        return false;
    }
    return state(*plan.info, *outcome);
}

// What the input does not say stays unsaid. The library would fill in who converts it, where and
// when, and the site's usual picture geometry, whose numbers would stand in for this picture's own.
bool leave_unsaid(ZOR_INFO &info) {
    for (char **text : {&info.user, &info.machine, &info.date, &info.images[0].picture_format})
        if (*text == nullptr && !set_text(*text, ""))
            return false;
    return true;
}

// Changes it to what the output's format can hold.
bool fit_to_format(Plan &plan, const Conversion &conversion, Reports &reports) {
    ZOR_INFO &info = *plan.info;
    // These two tell of the input file, not of the picture.
    ERR_free(std::exchange(info.extension, nullptr));
    ERR_free(std::exchange(info.compression, nullptr));
    info.complete_path = 1;
    info.cap_settings = conversion.settings;
    return set_text(info.key, conversion.to->key) && leave_unsaid(info) &&
           drop_sub_images(info, conversion, reports) && drop_frames(plan, conversion, reports) &&
           choose_channels(plan, conversion, reports);
}

Image open_output(const ZOR_INFO &info, Workplace &workplace, Reports &reports) {
    const std::lock_guard lock(workplace.opening);
    if (interrupted())
        return nullptr;
    Image image(ZOR_open(&info, "w"));
    if (image != nullptr)
        return image;
    reports.explain();
    const ZOR_IMAGE_DESC &desc = info.images[0];
    const bool floats = desc.image.type != ZOR_C_INTEGER ||
                        (desc.matte.count > 0 && desc.matte.type != ZOR_C_INTEGER);
    if (floats && reports.last_error().find("channel type") != std::string::npos)
        reports.warning("--display or --bits 8 turns floats into integers");
    return image;
}

// Writes the picture to the output's temporary file and gives that its name.
//   file  null for a format that makes a stream, which needs none
ExitCode write_output(RowReader &rows, const Plan &plan, OutputFile *file, const std::string &name,
                      Workplace &workplace, Reports &reports) {
    const std::string path = plan.info->file_name;
    reports.about(name, path);
    Image image = open_output(*plan.info, workplace, reports);
    if (image == nullptr)
        return EXIT_OUTPUT_FAILED;
    const End output = {image.get(), name, path};
    if (const ExitCode code = copy_rows(rows, output, workplace.threads, reports);
        code != EXIT_FINE) {
        // The reason has been told; that the file is incomplete goes without saying.
        reports.set_muted(true);
        image.reset();
        reports.set_muted(false);
        return code;
    }
    if (const int status = ZOR_close(image.release()); status != 0) {
        reports.explain(status);
        return EXIT_OUTPUT_FAILED;
    }
    return file == nullptr || file->commit(reports) ? EXIT_FINE : EXIT_OUTPUT_FAILED;
}

ExitCode convert_file(const std::string &input_file, const std::string &output_file,
                      const Conversion &conversion, Workplace &workplace, Reports &reports) {
    const std::string input_name = display_name(input_file, "standard input");
    const std::string output_name = display_name(output_file, "standard output");
    Image input;
    {
        const std::lock_guard lock(workplace.opening);
        if (interrupted())
            return EXIT_INTERRUPTED;
        reports.about(input_name);
        input = open_input(input_file, conversion.from, reports);
    }
    Plan plan;
    if (input == nullptr || !describe_input(plan, input.get(), conversion, reports))
        return EXIT_INPUT_FAILED;

    reports.about(output_name);
    OutputFile file(output_file, workplace.temporary_files);
    if (!fit_to_format(plan, conversion, reports) ||
        (!conversion.streamed && !file.create(conversion.to->extension, reports)) ||
        !set_text(plan.info->file_name, conversion.streamed ? "/dev/stdout" : file.path()))
        return EXIT_OUTPUT_FAILED;
    const bool any_order = is_plain_file(input_file) &&
                           (ZOR_image_format(input.get())->access & ZOR_ACCESS_RANDOM_READ) != 0;
    RowReader rows(input.get(), input_name, any_order, reports);
    rows.choose(plan.channels);
    return write_output(rows, plan, conversion.streamed ? nullptr : &file, output_name, workplace,
                        reports);
}

} // namespace

std::optional<Conversion> choose_formats(const std::string &input, const std::string &output,
                                         const std::string &from, const std::string &to,
                                         Reports &reports) {
    reports.about(display_name(output, "standard output"));
    const ZOR_FORMAT *format = choose_output(output, to, reports);
    if (format == nullptr)
        return std::nullopt;
    reports.about(display_name(input, "standard input"));
    if (is_standard_input(input) && from.empty()) {
        reports.error("name the format with --from; there are " + known_formats());
        return std::nullopt;
    }
    if (!from.empty() && find_key(from, reports) == nullptr)
        return std::nullopt;
    return Conversion{from, format, is_built_in(*format)};
}

ExitCode convert_image(const std::string &input, const std::string &output,
                       const Conversion &conversion, Workplace &workplace, Reports &reports) {
    const ExitCode code = convert_file(input, output, conversion, workplace, reports);
    // Whatever goes wrong on the way out is nobody's concern.
    return code != EXIT_FINE && interrupted() ? EXIT_INTERRUPTED : code;
}

} // namespace zor
