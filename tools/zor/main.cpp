// main.cpp - the zor command: its arguments and how it ends.
#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <cstdio>
#include <cstring>
#include <exception>
#include <thread>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "system.h"
#include "text.h"

namespace zor {

namespace {

constexpr unsigned most_jobs = 256;

const char exit_codes[] =
    "Exit codes: 0 all went well; 1 some input could not be read, or images that were compared\n"
    "differ; 2 wrong usage; 3 the library did not start, or no module is usable; 4 the result\n"
    "could not be written; 5 images could not be compared; 130 interrupted.";

// An option whose value is one of some words.
template<class Value>
void add_choice(CLI::App &command, const std::string &name, Value &value,
                const std::vector<std::pair<std::string, Value>> &choices,
                const std::string &help) {
    std::string words;
    for (const auto &choice : choices)
        add_to_list(words, choice.first, "|");
    const auto choose = [&value, choices, name, words](const std::string &word) {
        for (const auto &choice : choices) {
            if (choice.first == word) {
                value = choice.second;
                return;
            }
        }
        throw CLI::ValidationError(name, "expecting " + words + ", not " + word);
    };
    command.add_option_function<std::string>(name, choose, help)->type_name(words);
}

// An option whose value some function reads, which gives nothing for one that makes no sense.
template<class Value>
void add_parsed(CLI::App &command, const std::string &name, std::optional<Value> &value,
                std::optional<Value> (*parse)(const std::string &), const std::string &type,
                const std::string &expected, const std::string &help) {
    const auto take = [&value, parse, name, expected](const std::string &text) {
        value = parse(text);
        if (!value.has_value())
            throw CLI::ValidationError(name, "expecting " + expected + ", not " + text);
    };
    command.add_option_function<std::string>(name, take, help)->type_name(type);
}

// A number between two others, which "nan" is not.
CLI::Validator between(double low, double high, const std::string &words) {
    const auto check = [=](const std::string &text) -> std::string {
        double value = 0;
        const bool good = CLI::detail::lexical_cast(text, value) && value >= low && value <= high;
        return good ? "" : "expecting " + words + ", not " + text;
    };
    return CLI::Validator(check, "");
}

void add_operations(CLI::App &command, Operations &operations) {
    command
        .add_option("--select", operations.image,
                    "Take the N-th of the file's images, as zor info counts them")
        ->type_name("N")
        ->check(CLI::Range(1, INT32_MAX).description(""));
    add_parsed<WantedSize>(command, "--resize", operations.size, parse_size, "SIZE",
                           "WxH, Wx, xH or P%, with numbers up to 16777216",
                           "Change the size; with one extent keep the shape");
    add_choice<std::optional<int32_t>>(command, "--filter", operations.filter,
                                       {{"box", ZOR_FILTER_BOX},
                                        {"triangle", ZOR_FILTER_TRIANGLE},
                                        {"catmull-rom", ZOR_FILTER_CATMULL_ROM},
                                        {"mitchell", ZOR_FILTER_MITCHELL},
                                        {"lanczos3", ZOR_FILTER_LANCZOS_3}},
                                       "How --resize mixes pixels. Default: mitchell");
    command.add_flag("--float", operations.to_float, "Make all channels floats");
    command.add_flag("--display", operations.display,
                     "Make 8-bit colours for a display, and 8-bit matte and auxiliary channels");
    command.add_flag("--luminance", operations.luminance,
                     "Make one 8-bit channel of luminance for a display");
    command.add_option("--gamma", operations.gamma, "The display's. Default: that of new images")
        ->type_name("G")
        ->check(between(0.01, 100, "a number from 0.01 to 100"));
    add_parsed<Chromaticities>(command, "--primaries", operations.primaries, parse_primaries, "P",
                               known_primaries() + " or eight numbers",
                               "The display's: " + known_primaries() +
                                   " or x,y of red, green, blue and white. Default: the picture's");
    command
        .add_option("--bits", operations.bits, "Make colours and matte integers of so many bits")
        ->type_name("N")
        ->check(CLI::Range(1, 32).description(""));
}

void add_convert_options(CLI::App &command, ConvertRequest &request) {
    command
        .add_option("IN", request.files.input,
                    "The image; - is the standard input. A run of # stands for frame numbers")
        ->type_name("")
        ->required();
    command.add_option("OUT", request.files.output, "What to write; - is the standard output")
        ->type_name("")
        ->required();
    command.add_option("--from", request.from, "IN's format. Default: found out from the file")
        ->type_name("KEY");
    command.add_option("--to", request.to, "OUT's format. Default: told by OUT's extension")
        ->type_name("KEY");
    command
        .add_option("--set", request.settings,
                    "Set a capability of OUT's driver; may be given several times. \"zor formats "
                    "-v\" lists them")
        ->type_name("NAME=VALUE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command.add_flag("--strict", request.strict,
                     "Fail when OUT's format has no place for something");
    command
        .add_option("--frames", request.files.frames,
                    "Such as 1-100, 1-100x2, 1,5,10-20 or, behind a =, -5-5. Default: all there "
                    "are")
        ->type_name("LIST");
    command
        .add_option("-j,--jobs", request.run.jobs,
                    "Frames to convert at the same time. Default: one for each processor")
        ->type_name("N")
        ->check(CLI::Range(1U, most_jobs).description(""));
    add_choice<Missing>(
        command, "--missing", request.files.missing,
        {{"error", Missing::error}, {"skip", Missing::skip}, {"hold", Missing::hold}},
        "What to do about a frame without a file: take it for a failure (default), leave it out, "
        "or let the nearest earlier one stand in");
    add_choice<bool>(command, "--on-error", request.run.skip_failures,
                     {{"stop", false}, {"skip", true}},
                     "What to do after a frame that failed: begin no more (default), or go on");
    command.add_flag("--json", request.json, "Print a line of JSON for each frame");
    add_operations(command, request.operations);
}

void add_compare_options(CLI::App &command, CompareRequest &request) {
    command.add_option("A", request.a, "An image; - is the standard input")
        ->type_name("")
        ->required();
    command.add_option("B", request.b, "Another one")->type_name("")->required();
    command.add_option("--from", request.from, "The files' format. Default: found out from each")
        ->type_name("KEY");
    command
        .add_option("--tolerance", request.tolerance,
                    "Largest difference that counts as none, of a full range of 1. Default: 0")
        ->type_name("T")
        ->check(between(0, DBL_MAX, "a number from 0 on"));
    command
        .add_option("--difference", request.difference,
                    "Draw the difference, the largest one white")
        ->type_name("FILE");
    command.add_flag("--json", request.json, "As JSON");
}

void add_show_options(CLI::App &command, ShowRequest &request) {
    command.add_option("FILE", request.file, "The image; - is the standard input")
        ->type_name("")
        ->required();
    command.add_option("--from", request.from, "Its format. Default: found out from the file")
        ->type_name("KEY");
    command.add_option("--select", request.image, "The N-th of the file's images")
        ->type_name("N")
        ->check(CLI::Range(1, INT32_MAX).description(""));
    command
        .add_option("--width", request.width,
                    "Pixels across; a character in the terminal is one wide. Default: what fits")
        ->type_name("N")
        ->check(CLI::Range(1, 32767).description(""));
    command.add_flag("--opaque", request.opaque, "Leave the matte out");
    command.add_flag("--terminal", request.terminal, "Draw whatever the standard output is");
}

int run(const std::vector<std::string> &arguments) {
    RuntimeOptions options;
    ExitCode code = EXIT_FINE;
    CLI::App app("Looks at raster images, compares and converts them.", "zor");
    app.footer(exit_codes);
    app.set_version_flag("--version", "zor " ZOR_VERSION);
    app.require_subcommand(1);
    app.allow_windows_style_options(false); // "/dev/stdin" is a file
    app.fallthrough();
    app.add_option("--modules", options.module_directories,
                   "Directory to load format modules from; may be given several times. Default: "
                   "$ZOR_MODULES, or else the directories beside this program")
        ->type_name("DIR")
        ->allow_extra_args(false); // what follows the directory are files
    app.add_flag("-q,--quiet", options.quiet, "Say nothing but errors");

    bool json = false;
    bool verbose = false;
    CLI::App *formats = app.add_subcommand("formats", "List the formats");
    formats->add_flag("--json", json, "As JSON, with the modules");
    formats->add_flag("-v,--verbose", verbose, "Tell about the modules too");
    formats->callback([&] { code = list_formats(options, verbose, json); });

    std::vector<std::string> files;
    std::string from;
    CLI::App *info = app.add_subcommand("info", "Tell what files hold");
    info->add_option("FILE", files, "Image files")->type_name("")->required();
    info->add_option("--from", from, "The files' format. Default: found out from each")
        ->type_name("KEY");
    info->add_flag("--json", json, "As JSON");
    info->callback([&] { code = show_info(options, files, from, json); });

    CompareRequest comparison;
    CLI::App *compare_command = app.add_subcommand("compare", "Tell how far two images differ");
    add_compare_options(*compare_command, comparison);
    compare_command->callback([&] { code = compare(options, comparison); });

    ShowRequest shown;
    CLI::App *show_command =
        app.add_subcommand("show", "Draw an image in the terminal, or write a PNG file of it");
    add_show_options(*show_command, shown);
    show_command->callback([&] { code = show(options, shown); });

    ConvertRequest request;
    request.run.jobs = std::clamp(std::thread::hardware_concurrency(), 1U, most_jobs);
    CLI::App *convert_command =
        app.add_subcommand("convert", "Convert an image, or a sequence of them");
    add_convert_options(*convert_command, request);
    convert_command->callback([&] { code = convert(options, request); });

    app.failure_message([](const CLI::App *command, const CLI::Error &error) {
        return "zor: " + CLI::FailureMessage::simple(command, error);
    });
    try {
        // Expected last one first, and without the program's name.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend() - 1));
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? EXIT_FINE : EXIT_WRONG_USAGE;
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        if (code != EXIT_OUTPUT_FAILED) // else told already
            std::fprintf(stderr, "zor: standard output: %s\n", std::strerror(errno));
        return EXIT_OUTPUT_FAILED;
    }
    return code;
}

} // namespace

} // namespace zor

int main(int argc, char **argv) {
    try {
        return zor::run(zor::arguments(argc, argv));
    } catch (const std::bad_alloc &) {
        std::fputs("zor: out of memory\n", stderr);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "zor: %s\n", error.what());
    }
    return zor::EXIT_INPUT_FAILED;
}
