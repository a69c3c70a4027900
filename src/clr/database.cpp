// database.cpp - the colour database: its life and what it answers.
#include <cstdio>
#include <cstring>

#include "clr/build.h"
#include "clr/built_in.h"
#include "err/status.h"
#include "fmt/database.h"
#include "zor/clr.h"

namespace {

using zor::clr::Outcome;

// The database, from CLR_init to CLR_exit.
constinit struct {
    bool initialised = false;
    zor::clr::Spaces spaces;
} database;

// Built-in again with every CLR_init; until then as the last one left them.
constinit zor::clr::Settings settings;

Outcome add_built_in_spaces() {
    for (int32_t n = 1; n <= zor::clr::num_built_in; ++n) {
        zor::clr::Space *space = zor::clr::make_space(n);
        if (space == nullptr)
            return Outcome::failed;
        // The weights follow when the file has been read.
        std::memcpy(space->block, zor::clr::built_in_block(n),
                    static_cast<size_t>(n + 1) * sizeof(float));
        database.spaces.set(n, space);
    }
    return Outcome::good;
}

Outcome start(void *catalogue) {
    settings = {};
    if (const Outcome outcome = add_built_in_spaces(); outcome != Outcome::good)
        return outcome;
    config_open(catalogue); // without a file the built-in values apply
    zor::clr::Reading reading = {settings, database.spaces};
    const Outcome outcome = zor::clr::read_configuration(reading);
    return outcome == Outcome::good ? zor::clr::build_spaces(reading) : outcome;
}

// Starts the database for an operation that needs it. Returns false when that failed.
bool start_for(const char *operation, bool report_failure) {
    if (database.initialised)
        return true;
    const bool good = CLR_init(nullptr) == 0;
    if (good || report_failure)
        zor::report_start("clr", operation);
    return good;
}

// The settings, for an operation that returns one. It has something to return even when the start
// fails, and so reports that in any case.
const zor::clr::Settings &settings_for(const char *operation) {
    start_for(operation, true);
    return settings;
}

} // namespace

int CLR_init(void *catalogue) {
    if (database.initialised)
        return 0;
    database.initialised = true;
    const Outcome outcome = start(catalogue);
    if (outcome == Outcome::failed)
        CLR_exit();
    if (outcome != Outcome::good) {
        zor::set_status(ZOR_E_MEMORY);
        return -1;
    }
    return 0;
}

int CLR_exit(void) {
    database.initialised = false;
    database.spaces.clear();
    config_close(); // even when there was nothing to end
    return 0;
}

const CLR_SAMPLES *CLR_find(int32_t n) {
    if (!start_for(__func__, false))
        return nullptr;
    const zor::clr::Space *space = database.spaces.find(n);
    return space != nullptr ? &space->samples : nullptr;
}

int32_t CLR_def_color_samp(void) { return settings_for(__func__).color_samples; }

float CLR_def_min_wavelength(void) { return settings_for(__func__).range.minimum; }

float CLR_def_max_wavelength(void) { return settings_for(__func__).range.maximum; }

int32_t CLR_def_xyz_tab_res(void) { return settings_for(__func__).table_resolution; }

const float *CLR_def_red_primary(void) { return settings_for(__func__).red_primary; }

const float *CLR_def_green_primary(void) { return settings_for(__func__).green_primary; }

const float *CLR_def_blue_primary(void) { return settings_for(__func__).blue_primary; }

const float *CLR_def_white_point(void) { return settings_for(__func__).white_point; }

void CLR_symbols(void) {
    std::fputs("CLR_symbols: should not be called by the application\n", stderr);
}
