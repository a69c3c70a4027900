// copy_rows.cpp - rows go straight over where both ends can agree on an order; a picture that has
// to be held and turned around is written in one piece where that can be done.
#include "copy_rows.h"

#include "interrupt.h"

namespace zor {

namespace {

bool rises(const ZOR_IMAGE_DESC &desc) { return (desc.orientation & ZOR_ORIENTATION_RISING) != 0; }

// Writes a held picture in one call, which threads share. Returns its status.
int write_whole(const RowReader &rows, const RowReader::Picture &picture, const End &output,
                int threads) {
    const ZOR_IMAGE_DESC &out = *ZOR_image_desc(output.image, 0);
    std::vector<ZOR_PLANE> planes;
    for (const size_t offset : rows.offsets())
        planes.push_back({picture.at(0, offset), 0, static_cast<ZOR_WORD>(picture.line)});
    ZOR_RASTER raster = {};
    raster.left = out.win_left;
    raster.right = out.win_right;
    raster.bottom = out.win_bottom;
    raster.top = out.win_top;
    raster.num_threads = threads;
    raster.num_planes = static_cast<int32_t>(planes.size());
    raster.planes = planes.data();
    return ZOR_raster_write(output.image, &raster);
}

ExitCode write_rows(RowReader &rows, const End &output, Reports &reports) {
    const ZOR_IMAGE_DESC &out = *ZOR_image_desc(output.image, 0);
    for (int64_t step = 0; step < rows.height(); ++step) {
        if (interrupted())
            return EXIT_INTERRUPTED;
        const int64_t row = rises(out) ? step : rows.height() - 1 - step;
        void **samples = rows.read(row);
        if (samples == nullptr)
            return EXIT_INPUT_FAILED;
        reports.about(output.name, output.alias);
        const auto y = static_cast<int32_t>(out.win_bottom + row);
        if (const int status = ZOR_scan_write(output.image, y, samples); status != 0) {
            reports.explain(status);
            return EXIT_OUTPUT_FAILED;
        }
    }
    return EXIT_FINE;
}

} // namespace

ExitCode copy_rows(RowReader &rows, const End &output, int threads, Reports &reports) {
    if (!rows.start(rises(*ZOR_image_desc(output.image, 0))))
        return interrupted() ? EXIT_INTERRUPTED : EXIT_INPUT_FAILED;
    if (const RowReader::Picture *picture = rows.held()) {
        reports.about(output.name, output.alias);
        const int status = write_whole(rows, *picture, output, threads);
        if (status == 0)
            return EXIT_FINE;
        if (status != ZOR_E_UNSUPPORTED) {
            reports.explain(status);
            return EXIT_OUTPUT_FAILED;
        }
    }
    return write_rows(rows, output, reports);
}

} // namespace zor
