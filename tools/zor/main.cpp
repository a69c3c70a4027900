// main.cpp - the zor command: its arguments and how it ends.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>

#include <CLI/CLI.hpp>

#include "commands.h"

namespace zor {

namespace {

const char exit_codes[] = "Exit codes: 0 all went well; 1 some input could not be read; 2 wrong "
                          "usage;\n3 the library did not start, or no module is usable; 4 the "
                          "result could not be written.";

int run(int argc, char **argv) {
    RuntimeOptions options;
    ExitCode code = EXIT_FINE;
    CLI::App app("Looks at raster images and converts them.", "zor");
    app.footer(exit_codes);
    app.set_version_flag("--version", "zor " ZOR_VERSION);
    app.require_subcommand(1);
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
    ConvertRequest request;
    CLI::App *info = app.add_subcommand("info", "Tell what files hold");
    info->add_option("FILE", files, "Image files")->type_name("")->required();
    info->add_option("--from", request.from, "The files' format. Default: found out from each")
        ->type_name("KEY");
    info->add_flag("--json", json, "As JSON");
    info->callback([&] { code = show_info(options, files, request.from, json); });

    CLI::App *convert_command = app.add_subcommand("convert", "Convert an image");
    convert_command->add_option("IN", request.input, "The image; - is the standard input")
        ->type_name("")
        ->required();
    convert_command->add_option("OUT", request.output, "What to write; - is the standard output")
        ->type_name("")
        ->required();
    convert_command
        ->add_option("--from", request.from, "IN's format. Default: found out from the file")
        ->type_name("KEY");
    convert_command
        ->add_option("--to", request.to, "OUT's format. Default: told by OUT's extension")
        ->type_name("KEY");
    convert_command->add_flag("--strict", request.strict,
                              "Fail when OUT's format has no place for something");
    convert_command->callback([&] { code = convert(options, request); });

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? EXIT_FINE : EXIT_WRONG_USAGE;
    }
    // A command that could not write its result has said so.
    if ((std::fflush(stdout) != 0 || std::ferror(stdout) != 0) && code != EXIT_OUTPUT_FAILED) {
        std::fprintf(stderr, "zor: standard output: %s\n", std::strerror(errno));
        return EXIT_OUTPUT_FAILED;
    }
    return code;
}

} // namespace

} // namespace zor

int main(int argc, char **argv) {
    try {
        return zor::run(argc, argv);
    } catch (const std::bad_alloc &) {
        std::fputs("zor: out of memory\n", stderr);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "zor: %s\n", error.what());
    }
    return zor::EXIT_INPUT_FAILED;
}
