// compare.cpp - the command "zor compare".
#include "commands.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include <zor/str.h>

#include "convert_image.h"
#include "difference.h"
#include "input.h"
#include "interrupt.h"
#include "json.h"
#include "loader/paths.h"
#include "output_file.h"
#include "text.h"

namespace zor {

namespace {

// An open file.
struct Side {
    Image image;
    std::optional<RowReader> rows;
};

bool open(Side &side, const std::string &file, const std::string &from, Reports &reports) {
    side.image = open_input(file, from, reports);
    if (side.image == nullptr)
        return reports.explain(), false;
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(side.image.get(), 0);
    if (desc == nullptr || desc->chan_flag != 1) {
        reports.error("there are no planar channels in this file");
        return false;
    }
    const bool any_order = is_plain_file(file) && (ZOR_image_format(side.image.get())->access &
                                                   ZOR_ACCESS_RANDOM_READ) != 0;
    side.rows.emplace(side.image.get(), file, any_order, reports);
    return true;
}

bool is_same_file(const std::string &a, const std::string &b) {
    std::error_code error;
    return std::filesystem::equivalent(to_path(a), to_path(b), error);
}

// Whether a file cannot be read twice.
bool gives_once(const std::string &file) {
    std::error_code error;
    return is_standard_input(file) ||
           (std::filesystem::exists(file, error) && !is_plain_file(file));
}

// What came of it.
struct Comparison {
    std::string unlike; // why there is nothing below
    std::vector<Difference> channels;
    std::vector<std::string> names;
    std::vector<std::optional<double>> codes; // largest integers
    Difference all;

    [[nodiscard]] bool within(double tolerance) const {
        return unlike.empty() && all.maximum <= tolerance;
    }
    // Largest of the channels that a difference picture shows.
    double shown = 0;
};

std::string channel_name(const RowReader &rows, int32_t channel) {
    const ZOR_IMAGE_DESC &desc = rows.desc();
    if (channel < desc.image.count)
        return "colour " + std::to_string(channel + 1);
    channel -= desc.image.count;
    if (channel < desc.matte.count)
        return "matte " + std::to_string(channel + 1);
    return "auxiliary " + std::to_string(channel - desc.matte.count + 1);
}

// Returns false after a report.
bool compare_rows(Pair &pair, Comparison &result) {
    const RowReader &a = pair.a();
    const bool rising = pair.rising();
    if (!pair.start(rising))
        return false;
    result.channels.resize(static_cast<size_t>(a.num_channels()));
    for (int64_t step = 0; step < a.height(); ++step) {
        if (interrupted() || !pair.read(rising ? step : a.height() - 1 - step))
            return false;
        for (int32_t k = 0; k < a.num_channels(); ++k)
            result.channels[static_cast<size_t>(k)].add(sum_up(pair.apart(k)));
    }
    for (int32_t k = 0; k < a.num_channels(); ++k) {
        const Difference &channel = result.channels[static_cast<size_t>(k)];
        result.all.add(channel);
        if (k < a.desc().image.count + a.desc().matte.count)
            result.shown = std::max(result.shown, channel.maximum);
        result.names.push_back(channel_name(a, k));
        result.codes.push_back(pair.codes(k));
    }
    return true;
}

// The difference picture -----------------------------------------------------------------------

// Differences of colours, each channel with that of the mattes where it is larger, stretched so
// that the largest is white.
class DifferencePicture {
public:
    DifferencePicture(Pair &pair, double largest)
        : pair_(pair),
          scale_(largest > 0 && std::isfinite(largest) ? 255 / largest : 255),
          colours_(pair.a().desc().image.count >= 3 ? 3 : 1),
          samples_(static_cast<size_t>(colours_ * pair.a().width())) {}

    [[nodiscard]] int32_t colours() const { return colours_; }

    // The row at a place that was read last.
    std::vector<void *> row();

private:
    Pair &pair_;
    double scale_;
    int32_t colours_;
    std::vector<uint8_t> samples_;
};

std::vector<void *> DifferencePicture::row() {
    const ZOR_IMAGE_DESC &desc = pair_.a().desc();
    const auto width = static_cast<size_t>(pair_.a().width());
    std::fill(samples_.begin(), samples_.end(), uint8_t{0});
    std::vector<void *> rows;
    for (int32_t k = 0; k < colours_; ++k) {
        uint8_t *to = samples_.data() + width * static_cast<size_t>(k);
        const auto put = [&](const std::vector<double> &apart) {
            for (size_t x = 0; x < width; ++x)
                to[x] = std::max(
                    to[x], static_cast<uint8_t>(std::min(255.0, std::round(apart[x] * scale_))));
        };
        if (k < desc.image.count)
            put(pair_.apart(k));
        for (int32_t m = 0; m < desc.matte.count; ++m)
            put(pair_.apart(desc.image.count + m));
        rows.push_back(to);
    }
    rows.push_back(nullptr);
    return rows;
}

ExitCode write_rows(Pair &pair, DifferencePicture &picture, ZOR_IMAGE *output,
                    const std::string &name, const std::string &path, Reports &reports) {
    const ZOR_IMAGE_DESC &desc = *ZOR_image_desc(output, 0);
    const bool rising = (desc.orientation & ZOR_ORIENTATION_RISING) != 0;
    if (!pair.start(rising))
        return EXIT_NOT_COMPARED;
    const int64_t height = pair.a().height();
    for (int64_t step = 0; step < height; ++step) {
        if (interrupted())
            return EXIT_INTERRUPTED;
        const int64_t row = rising ? step : height - 1 - step;
        if (!pair.read(row))
            return EXIT_NOT_COMPARED;
        reports.about(name, path);
        std::vector<void *> rows = picture.row();
        const auto y = static_cast<int32_t>(desc.win_bottom + row);
        if (const int status = ZOR_scan_write(output, y, rows.data()); status != 0)
            return reports.explain(status), EXIT_OUTPUT_FAILED;
    }
    return EXIT_FINE;
}

ExitCode write_difference(Pair &pair, double largest, const std::string &name,
                          const ZOR_FORMAT &format, Reports &reports) {
    DifferencePicture picture(pair, largest);
    TemporaryFiles temporary_files;
    reports.about(name);
    OutputFile file(name, temporary_files);
    const Info info(ZOR_info_alloc());
    if (info == nullptr || !file.create(format.extension, reports) ||
        !set_text(info->file_name, file.path()) || !set_text(info->key, format.key))
        return EXIT_OUTPUT_FAILED;
    info->complete_path = 1;
    ZOR_IMAGE_DESC *desc = ZOR_info_add_image(info.get(), static_cast<int32_t>(pair.a().width()),
                                              static_cast<int32_t>(pair.a().height()));
    if (desc == nullptr)
        return reports.explain(), EXIT_OUTPUT_FAILED;
    desc->image.count = picture.colours();
    reports.about(name, file.path());
    Image output(ZOR_open(info.get(), "w"));
    if (output == nullptr)
        return reports.explain(), EXIT_OUTPUT_FAILED;
    if (const ExitCode code = write_rows(pair, picture, output.get(), name, file.path(), reports);
        code != EXIT_FINE) {
        reports.set_muted(true); // the reason has been told
        output.reset();
        reports.set_muted(false);
        return code;
    }
    if (const int status = ZOR_close(output.release()); status != 0)
        return reports.explain(status), EXIT_OUTPUT_FAILED;
    return file.commit(reports) ? EXIT_FINE : EXIT_OUTPUT_FAILED;
}

// What is said ---------------------------------------------------------------------------------

std::string number(double value) {
    if (!std::isfinite(value))
        return value > 0 ? "infinite" : "-infinite";
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::vector<std::string> cells(const std::string &name, const Difference &difference,
                               const std::optional<double> &codes) {
    const double psnr = difference.psnr();
    std::vector<std::string> row = {name, number(difference.maximum), number(difference.rms()),
                                    number(psnr) + (std::isfinite(psnr) ? " dB" : "")};
    if (codes.has_value())
        row.insert(row.end(),
                   {number(difference.maximum * *codes), number(difference.rms() * *codes)});
    return row;
}

void print_result(const Comparison &result) {
    if (!result.unlike.empty()) {
        std::printf("%s\n", result.unlike.c_str());
        return;
    }
    std::vector<std::vector<std::string>> rows = {
        {"", "maximum", "rms", "psnr", "maximum in codes", "rms in codes"}};
    for (size_t k = 0; k < result.channels.size(); ++k)
        rows.push_back(cells(result.names[k], result.channels[k], result.codes[k]));
    rows.push_back(cells("all", result.all, std::nullopt));
    print_table(rows);
}

// Numbers that are not finite become null.
Json to_json(const Difference &difference) {
    return {{"maximum", difference.maximum},
            {"rms", difference.rms()},
            {"psnr", difference.psnr()},
            {"equal", difference.maximum == 0}};
}

void print_result_json(const Comparison &result, const CompareRequest &request) {
    Json json = {{"files", {request.a, request.b}},
                 {"within_tolerance", result.within(request.tolerance)},
                 {"unlike", result.unlike.empty() ? Json() : Json(result.unlike)}};
    if (result.unlike.empty()) {
        json.update(to_json(result.all));
        json["channels"] = Json::array();
    }
    for (size_t k = 0; k < result.channels.size(); ++k) {
        Json channel = {{"channel", result.names[k]}};
        channel.update(to_json(result.channels[k]));
        const std::optional<double> codes = result.codes[k];
        channel["maximum_code"] =
            codes.has_value() ? Json(std::round(result.channels[k].maximum * *codes)) : Json();
        channel["rms_code"] = codes.has_value() ? Json(result.channels[k].rms() * *codes) : Json();
        json["channels"].push_back(std::move(channel));
    }
    print_json(json);
}

// Compares two files, and once more for the picture, whose scale is known only then.
ExitCode compare_files(const CompareRequest &request, const ZOR_FORMAT *format, Reports &reports) {
    Comparison result;
    for (const bool again : {false, true}) {
        Side a;
        Side b;
        if (!open(a, request.a, request.from, reports) ||
            !open(b, request.b, request.from, reports))
            return EXIT_NOT_COMPARED;
        Pair pair(*a.rows, *b.rows);
        if (again) {
            const ExitCode code =
                write_difference(pair, result.shown, request.difference, *format, reports);
            if (code != EXIT_FINE)
                return code;
            break;
        }
        result.unlike = pair.unlike();
        if (result.unlike.empty() && !compare_rows(pair, result))
            return EXIT_NOT_COMPARED;
        if (format == nullptr || !result.unlike.empty())
            break;
    }
    if (request.json)
        print_result_json(result, request);
    else
        print_result(result);
    return result.within(request.tolerance) ? EXIT_FINE : EXIT_DIFFERENT;
}

} // namespace

ExitCode compare(const RuntimeOptions &options, const CompareRequest &request) {
    Runtime runtime(options);
    if (!runtime.start())
        return EXIT_NO_START;
    Reports &reports = runtime.reports();
    const ZOR_FORMAT *format = nullptr;
    if (!request.from.empty() && ZOR_find(request.from.c_str()) == nullptr) {
        reports.error("no format has the key '" + request.from + "'; zor formats lists them");
        return EXIT_WRONG_USAGE;
    }
    if (!request.difference.empty()) {
        format = format_of_name(request.difference);
        reports.about(request.difference);
        if (format == nullptr) {
            reports.error("no format has this extension; zor formats lists them");
            return EXIT_WRONG_USAGE;
        }
        if (is_same_file(request.difference, request.a) ||
            is_same_file(request.difference, request.b)) {
            reports.error("the difference picture would take the place of what is compared");
            return EXIT_WRONG_USAGE;
        }
        if (gives_once(request.a) || gives_once(request.b)) {
            reports.error("a difference picture takes files, which can be read twice");
            return EXIT_WRONG_USAGE;
        }
        catch_interrupts();
    }
    try {
        const ExitCode code = compare_files(request, format, reports);
        return code != EXIT_FINE && interrupted() ? EXIT_INTERRUPTED : code;
    } catch (const std::bad_alloc &) {
        reports.error("out of memory");
        return EXIT_NOT_COMPARED;
    }
}

} // namespace zor
