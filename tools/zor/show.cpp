// show.cpp - the command "zor show".
#include "commands.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <zor/fmt.h>

#include "convert_image.h"
#include "input.h"
#include "output_file.h"
#include "row_reader.h"
#include "system.h"
#include "terminal_picture.h"

namespace zor {

namespace {

// A number that the environment says, or another one.
int environment(const char *variable, int otherwise) {
    const char *text = std::getenv(variable);
    const long value = text != nullptr ? std::strtol(text, nullptr, 10) : 0;
    return value > 0 && value < 10000 ? static_cast<int>(value) : otherwise;
}

// What there is room for, in pixels. A line is left for the prompt.
std::array<int32_t, 2> terminal_room() {
    const TerminalSize size = standard_output_size();
    const int columns = environment("COLUMNS", size.columns > 0 ? size.columns : 80);
    const int lines = environment("LINES", size.lines > 0 ? size.lines : 24);
    return {columns, 2 * std::max(lines - 1, 1)};
}

Operations operations_of(const ShowRequest &request) {
    Operations operations;
    operations.image = request.image;
    operations.display = true;
    operations.gamma = FMT_def_gamma();
    operations.unstated = FMT_def_input_gamma();
    if (request.width > 0)
        operations.size = WantedSize{request.width, 0, 0};
    return operations;
}

// Grey squares behind what the matte lets through.
uint8_t background(int32_t x, int64_t y) { return (x / 4 + y / 4) % 2 == 0 ? 102 : 153; }

// Fills in a row of pixels from 8-bit channels.
void put_row(Pixels &pixels, const ZOR_IMAGE_DESC &desc, void *const *rows, int64_t y,
             bool opaque) {
    const auto channel = [rows](int32_t k) { return static_cast<const uint8_t *>(rows[k]); };
    const bool rgb = desc.image.count >= 3;
    const uint8_t *matte = nullptr;
    if (!opaque && desc.matte.count == 1 && desc.matte.type == ZOR_C_INTEGER &&
        desc.matte.bits == 8)
        matte = channel(desc.image.count);
    Pixels::Pixel *to = pixels.all.data() + y * pixels.width;
    for (int32_t x = 0; x < pixels.width; ++x) {
        for (int32_t k = 0; k < 3; ++k) {
            const int value = channel(rgb ? k : 0)[x];
            const int covered = matte != nullptr ? matte[x] : 255;
            const int mixed = value * covered + background(x, y) * (255 - covered);
            to[x][static_cast<size_t>(k)] = static_cast<uint8_t>((mixed + 127) / 255);
        }
    }
}

// Draws an image that is open as it is, small as it may be.
ExitCode draw_rows(ZOR_IMAGE *image, const ShowRequest &request, Reports &reports) {
    RowReader rows(image, request.file, false, reports);
    Pixels pixels;
    pixels.width = static_cast<int32_t>(rows.width());
    pixels.height = static_cast<int32_t>(rows.height());
    pixels.all.resize(static_cast<size_t>(rows.width() * rows.height()));
    for (int32_t step = 0; step < pixels.height; ++step) {
        const int32_t row = rows.rises() ? step : pixels.height - 1 - step;
        void *const *read = rows.read(row);
        if (read == nullptr)
            return EXIT_INPUT_FAILED;
        put_row(pixels, rows.desc(), read, pixels.height - 1 - row, request.opaque);
    }
    const std::string text = draw(pixels);
    std::fwrite(text.data(), 1, text.size(), binary_standard_output());
    return EXIT_FINE;
}

ExitCode draw_file(const ShowRequest &request, Reports &reports) {
    const Image image = open_input(request.file, request.from, reports);
    if (image == nullptr)
        return reports.explain(), EXIT_INPUT_FAILED;
    Operations operations = operations_of(request);
    const ZOR_IMAGE_DESC *desc =
        ZOR_image_desc(image.get(), std::max(request.image - 1, int32_t{0}));
    if (desc != nullptr && request.width == 0) {
        const auto [columns, rows] = terminal_room();
        const int64_t width = int64_t{desc->win_right} - desc->win_left + 1;
        const int64_t height = int64_t{desc->win_top} - desc->win_bottom + 1;
        const auto [across, up] = fit(width, height, columns, rows);
        if (across != width || up != height)
            operations.size = WantedSize{across, up, 0};
    }
    if (!push_operators(image.get(), operations, false, reports).has_value())
        return EXIT_INPUT_FAILED;
    desc = ZOR_image_desc(image.get(), 0);
    if (desc == nullptr || desc->chan_flag != 1) {
        reports.error("there are no planar channels in this file");
        return EXIT_INPUT_FAILED;
    }
    return draw_rows(image.get(), request, reports);
}

// Writes a PNG file of its own and says where it is.
ExitCode write_picture(const ShowRequest &request, Reports &reports) {
    const ZOR_FORMAT *png = ZOR_find("png");
    if (png == nullptr) {
        reports.error("this is no terminal with colours (--terminal draws all the same), and there "
                      "is no module for PNG files");
        return EXIT_OUTPUT_FAILED;
    }
    const std::string path = make_temporary_file(png->extension, reports);
    if (path.empty())
        return EXIT_OUTPUT_FAILED;
    Conversion conversion{request.from, png};
    conversion.operations = operations_of(request);
    Workplace workplace;
    const ExitCode code = convert_image(request.file, path, conversion, workplace, reports);
    if (code != EXIT_FINE)
        remove_file(path);
    else
        std::printf("%s\n", path.c_str());
    return code;
}

} // namespace

ExitCode show(const RuntimeOptions &options, const ShowRequest &request) {
    Runtime runtime(options);
    if (!runtime.start())
        return EXIT_NO_START;
    Reports &reports = runtime.reports();
    if (!request.from.empty() && ZOR_find(request.from.c_str()) == nullptr) {
        reports.error("no format has the key '" + request.from + "'; zor formats lists them");
        return EXIT_WRONG_USAGE;
    }
    if (request.terminal || standard_output_draws_colours())
        return draw_file(request, reports);
    return write_picture(request, reports);
}

} // namespace zor
