// convert.cpp - the command "zor convert".
#include "commands.h"

#include <zor/fmt.h>

#include "capability.h"
#include "console.h"
#include "convert_frames.h"
#include "input.h"
#include "interrupt.h"
#include "system.h"

namespace zor {

namespace {

// Returns false after a message.
bool set_capabilities(CapabilitySettings &settings, const std::vector<std::string> &wanted,
                      const ZOR_FORMAT &format, Reports &reports) {
    const std::vector<Capability> capabilities = capabilities_of(format);
    reports.about("");
    for (const std::string &assignment : wanted) {
        std::string problem;
        if (!settings.add(assignment, capabilities, format.key, problem)) {
            reports.error(problem);
            return false;
        }
    }
    return true;
}

} // namespace

ExitCode convert(const RuntimeOptions &options, const ConvertRequest &request) {
    const SequenceRequest &files = request.files;
    Runtime runtime(options);
    if (!runtime.start())
        return EXIT_NO_START;
    Reports &reports = runtime.reports();
    if (request.json && is_standard_output(files.output)) {
        reports.error("--json needs the standard output for itself");
        return EXIT_WRONG_USAGE;
    }
    if (const std::string reason = contradiction(request.operations); !reason.empty()) {
        reports.error(reason);
        return EXIT_WRONG_USAGE;
    }
    std::optional<Conversion> conversion =
        choose_formats(files.input, files.output, request.from, request.to, reports);
    CapabilitySettings settings;
    if (!conversion.has_value() ||
        !set_capabilities(settings, request.settings, *conversion->to, reports))
        return EXIT_WRONG_USAGE;
    conversion->strict = request.strict;
    conversion->settings = settings.list();
    conversion->operations = request.operations;
    if (!request.operations.gamma.has_value()) // asked here, before there are threads
        conversion->operations.gamma = FMT_def_gamma();
    ExitCode code = EXIT_FINE;
    std::optional<Sequence> sequence = Sequence::make(files, reports, code);
    if (!sequence.has_value())
        return code;

    // Up to here signals end the program on the spot; from now on there is something to tidy up.
    catch_interrupts();
    ignore_broken_pipes();
    Console console(options.quiet, request.json, sequence->has_frames());
    return convert_frames(*sequence, *conversion, request.run, console);
}

} // namespace zor
