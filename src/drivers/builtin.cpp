// builtin.cpp - the table of drivers that the library carries and registers by itself.
#include "core/registry.h"
#include "drivers/mem/driver.h"
#include "drivers/mem/table.h"
#include "drivers/pipe/driver.h"

namespace zor {

namespace {

constexpr uint32_t all_widths = UINT32_MAX;
constexpr int32_t most_channels = 32767;

// Such images cannot be told by looking at a file: a key or an extension has to choose them.
unsigned char recognise_none(void *, void *) { return 0; }

// What both drivers have in common. All that is not set here or below is 0, the done function
// included: only modules' are called, see release_builtin_drivers.
constexpr ZOR_DRIVER builtin(const char *key, const char *extension, const char *name) {
    ZOR_DRIVER driver = {};
    driver.key = key;
    driver.extension = extension;
    driver.name = name;
    driver.file_name_format = "%s.%04.4d%s";
    driver.name_syntax = "Name.####.Ext";
    driver.add_extension = 1;
    driver.orientation = ZOR_ORIENTATION_RISING;
    driver.bits_per_channel = all_widths;
    driver.bits_per_matte = all_widths;
    driver.active_window = 1;
    driver.is_file = recognise_none;
    return driver;
}

constexpr ZOR_DRIVER pipe_driver() {
    ZOR_DRIVER driver = builtin("pipe", ".pipe", "pipe");
    driver.description = "ipc";
    driver.usage = ZOR_USAGE_STILL;
    driver.num_channels = 3;
    driver.num_mattes = 1;
    driver.access = ZOR_ACCESS_READ | ZOR_ACCESS_WRITE;
    driver.read_open = pipe::open_reader;
    driver.write_open = pipe::open_writer;
    return driver;
}

constexpr ZOR_DRIVER mem_driver() {
    ZOR_DRIVER driver = builtin("mem", ".mem", "memory");
    driver.usage = 255; // every use there is or will be
    driver.num_channels = most_channels;
    driver.num_mattes = most_channels;
    driver.num_z = most_channels;
    driver.bits_per_z = all_widths;
    driver.access =
        ZOR_ACCESS_READ | ZOR_ACCESS_WRITE | ZOR_ACCESS_RANDOM_READ | ZOR_ACCESS_RANDOM_WRITE;
    driver.read_open = mem::open_reader;
    driver.write_open = mem::open_writer;
    return driver;
}

constexpr ZOR_DRIVER drivers[] = {pipe_driver(), mem_driver()};

} // namespace

std::span<const ZOR_DRIVER> builtin_drivers() { return drivers; }

void release_builtin_drivers() { mem::clear_table(); }

} // namespace zor
