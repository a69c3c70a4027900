// config.cpp - any bytes can be the configuration file: both databases start or say why not, answer
// with sane numbers, take memory within bounds and leave none behind.
#include <cfloat>
#include <cstdint>
#include <string>

#include "fmt/defaults.h"
#include "watch.h"
#include "zor/clr.h"
#include "zor/fmt.h"

namespace {

void check_numbers(const float *numbers, int32_t count) {
    for (int32_t i = 0; i < count; ++i)
        check(numbers[i] >= -FLT_MAX && numbers[i] <= FLT_MAX);
}

void use_formats() {
    for (const char *text :
         {FMT_def_aspect(), FMT_def_image_data(), fmt__def_key(), fmt__def_base_name()})
        check(std::string(text).size() < 255);
    check(FMT_find(FMT_def_aspect()) != nullptr || FMT_find("ntsc_640") == nullptr);
    check(FMT_init(nullptr) == 0); // rewinds
    while (const FMT_ASPECT *aspect = FMT_info()) {
        check(std::string(aspect->name).size() < 255);
        check_numbers(&aspect->aspect, 1);
    }
    const float gammas[] = {FMT_def_gamma(), FMT_def_input_gamma()};
    check_numbers(gammas, 2);
    check(FMT_def_dominance() <= 1 && FMT_def_frame_rate() >= 1);
}

void use_colours() {
    for (const float *triple : {CLR_def_red_primary(), CLR_def_green_primary(),
                                CLR_def_blue_primary(), CLR_def_white_point()})
        check_numbers(triple, 3);
    for (int32_t n = -1; n <= 4097; ++n) {
        const CLR_SAMPLES *space = CLR_find(n);
        if (space == nullptr)
            continue;
        check(space->n == n);
        check_numbers(space->bounds, n + 1);
        check_numbers(space->inv_width, n);
        check_numbers(space->to_xyz, 3 * n);
        check_numbers(space->from_xyz, 3 * n);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    watch::start();
    put_configuration(data, size);

    const size_t before = watch::used;
    watch::peak = before;
    watch::reported = false;
    check(FMT_init(nullptr) == 0); // nothing in a file stops it
    use_formats();
    const int result = CLR_init(nullptr);
    check(result == 0 || (result == -1 && watch::reported));
    // A word for a number stops the start halfway and leaves the database up.
    if (CLR_init(nullptr) == 0) {
        use_colours();
        check(result == -1 || (CLR_def_min_wavelength() > 0 && CLR_find(3) != nullptr &&
                               CLR_def_min_wavelength() < CLR_def_max_wavelength()));
    }
    // A table of a million points, and a line for a sample space of 4096 bins.
    check(watch::peak - before <= (size_t{42} << 20) + 8192 * size);
    CLR_exit();
    FMT_exit();
    check(watch::used == before);
    return 0;
}
