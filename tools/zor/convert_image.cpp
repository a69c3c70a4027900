// convert_image.cpp - opening both sides of a conversion and agreeing on what is carried over.
#include "convert_image.h"

#include <cstring>
#include <utility>
#include <vector>

#include "copy_rows.h"
#include "input.h"
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
bool has_place(const ZOR_FORMAT &format, const ConvertRequest &request, Reports &reports) {
    if (!is_built_in(format))
        return true;
    const bool streams = std::strcmp(format.key, "pipe") == 0;
    if (!streams)
        reports.error("images of the format '" + request.to + "' do not outlive the command");
    else if (!is_standard_output(request.output))
        reports.error("the format 'pipe' goes to the standard output: name it, as -");
    return streams && is_standard_output(request.output);
}

// The output's format, by key or by extension; null after a message.
const ZOR_FORMAT *choose_output(const ConvertRequest &request, Reports &reports) {
    const ZOR_FORMAT *format = nullptr;
    if (!request.to.empty()) {
        format = find_key(request.to, reports);
        return format != nullptr && has_place(*format, request, reports) ? format : nullptr;
    }
    if (is_standard_output(request.output))
        reports.error("name the format with --to; there are " + known_formats());
    else if (format = format_of_name(request.output); format == nullptr)
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
    std::vector<int32_t> channels;
};

// Says what is left out, and why. Returns whether that is acceptable.
bool leave_out(const std::string &what, const std::string &why, const ConvertRequest &request,
               Reports &reports) {
    if (request.strict)
        reports.error(what + " would be left out: " + why);
    else
        reports.warning(what + " left out: " + why);
    return !request.strict;
}

void free_texts(ZOR_IMAGE_DESC &desc) {
    for (char *text : {desc.chan_format, desc.aux_name, desc.picture_format, desc.ratio_text})
        ERR_free(text);
}

// Keeps the first image only.
bool drop_sub_images(ZOR_INFO &info, const ConvertRequest &request, Reports &reports) {
    if (info.num_images <= 1)
        return true;
    for (int32_t i = 1; i < info.num_images; ++i)
        free_texts(info.images[i]);
    const int32_t dropped = std::exchange(info.num_images, 1) - 1;
    return leave_out(counted(dropped, "further image"), "one is converted", request, reports);
}

// Lists the channels that go over; groups that the format has no place for are cleared.
bool choose_channels(Plan &plan, const ZOR_FORMAT &format, const ConvertRequest &request,
                     Reports &reports) {
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
            if (!leave_out(counted(group->count, name), no_place, request, reports))
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

// All that is known of the input.
bool describe_input(Plan &plan, const ZOR_IMAGE *input, Reports &reports) {
    plan.info.reset(ZOR_info_alloc());
    if (plan.info == nullptr || ZOR_info_from_image(plan.info.get(), input) != 0)
        return reports.explain(zor__err), false;
    if (plan.info->num_images < 1) {
        reports.error("there is no image in this file");
        return false;
    }
    if (plan.info->images[0].chan_flag != 1) {
        reports.error("interleaved channels cannot be converted");
        return false;
    }
    return true;
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
bool fit_to_format(Plan &plan, const ZOR_FORMAT &format, const ConvertRequest &request,
                   Reports &reports) {
    ZOR_INFO &info = *plan.info;
    // These two tell of the input file, not of the picture.
    ERR_free(std::exchange(info.extension, nullptr));
    ERR_free(std::exchange(info.compression, nullptr));
    info.complete_path = 1;
    return set_text(info.key, format.key) && leave_unsaid(info) && drop_sub_images(info, request, reports) &&
           choose_channels(plan, format, request, reports);
}

// Writes the picture to the output's temporary file and gives that its name.
//   file  null for a format that makes a stream, which needs none
ExitCode write_output(const End &input, const Plan &plan, bool any_order, OutputFile *file,
                      const std::string &name, Reports &reports) {
    const auto failed = [&] { return reports.explain(zor__err), EXIT_OUTPUT_FAILED; };
    const std::string path = plan.info->file_name;
    reports.about(name, path);
    Image image(ZOR_open(plan.info.get(), "w"));
    if (image == nullptr)
        return failed();
    const End output = {image.get(), name, path};
    if (const ExitCode code = copy_rows(input, output, plan.channels, any_order, reports);
        code != EXIT_FINE) {
        // The reason has been told; that the file is incomplete goes without saying.
        ERR_mask(nullptr);
        image.reset();
        ERR_unmask(nullptr);
        return code;
    }
    if (ZOR_close(image.release()) != 0)
        return failed();
    return file == nullptr || file->commit(reports) ? EXIT_FINE : EXIT_OUTPUT_FAILED;
}

} // namespace

ExitCode convert_image(const ConvertRequest &request, Reports &reports) {
    const std::string input_name = display_name(request.input, "standard input");
    const std::string output_name = display_name(request.output, "standard output");

    reports.about(output_name);
    const ZOR_FORMAT *format = choose_output(request, reports);
    if (format == nullptr)
        return EXIT_WRONG_USAGE;
    reports.about(input_name);
    if (is_standard_input(request.input) && request.from.empty()) {
        reports.error("name the format with --from; there are " + known_formats());
        return EXIT_WRONG_USAGE;
    }
    if (!request.from.empty() && find_key(request.from, reports) == nullptr)
        return EXIT_WRONG_USAGE;

    const Image input = open_input(request.input, request.from, reports);
    if (input == nullptr)
        return EXIT_INPUT_FAILED;
    Plan plan;
    if (!describe_input(plan, input.get(), reports))
        return EXIT_INPUT_FAILED;

    reports.about(output_name);
    const bool streamed = is_built_in(*format);
    OutputFile file(request.output);
    if (!fit_to_format(plan, *format, request, reports) ||
        (!streamed && !file.create(format->extension, reports)) ||
        !set_text(plan.info->file_name, streamed ? "/dev/stdout" : file.path()))
        return EXIT_OUTPUT_FAILED;
    const bool any_order = is_plain_file(request.input) &&
                           (ZOR_image_format(input.get())->access & ZOR_ACCESS_RANDOM_READ) != 0;
    return write_output({input.get(), input_name, {}}, plan, any_order, streamed ? nullptr : &file,
                        output_name, reports);
}

} // namespace zor
