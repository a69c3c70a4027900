// registry.cpp - the format registry's state and upkeep.
#include "core/registry.h"

#include "base/base/owned.h"
#include "err/status.h"
#include "zor/str.h"

namespace zor {

Registry registry = {};

bool start_on_demand(const char *query) {
    if (registry.up)
        return true;
    if (ZOR_init(nullptr, nullptr) != 0)
        return false;
    ERR_report_cat(zor__msg_cat, ZOR_MSG_ON_DEMAND_START, "zor", query);
    return true;
}

std::span<const ZOR_DRIVER> module_drivers() {
    return {registry.drivers, static_cast<size_t>(registry.num_drivers)};
}

const ZOR_DRIVER *find_by_key(std::span<const ZOR_DRIVER> drivers, const char *key) {
    for (const ZOR_DRIVER &driver : drivers)
        if (STR_compare(driver.key, key) == 0)
            return &driver;
    return nullptr;
}

const ZOR_DRIVER *find_driver(const char *key) {
    const ZOR_DRIVER *driver = find_by_key(module_drivers(), key);
    return driver != nullptr ? driver : find_by_key(builtin_drivers(), key);
}

namespace {

ZOR_FORMAT format_of(const ZOR_DRIVER &driver) {
    ZOR_FORMAT format = {};
    format.key = driver.key;
    format.extension = driver.extension;
    format.name = driver.name;
    format.description = driver.description;
    format.description_set = driver.description_set;
    format.description_number = driver.description_number;
    format.description_default = driver.description_default;
    format.file_name_format = driver.file_name_format;
    format.name_syntax = driver.name_syntax;
    format.add_extension = driver.add_extension;
    format.usage = driver.usage;
    format.orientation = driver.orientation;
    format.bits_per_palette_entry = driver.bits_per_palette_entry;
    format.num_channels = driver.num_channels;
    format.bits_per_channel = driver.bits_per_channel;
    format.num_mattes = driver.num_mattes;
    format.bits_per_matte = driver.bits_per_matte;
    format.num_z = driver.num_z;
    format.bits_per_z = driver.bits_per_z;
    format.active_window = driver.active_window;
    format.access = driver.access;
    format.capability = driver.capability;
    format.caps_avail_update = driver.caps_avail_update;
    format.multi_frame = driver.multi_frame;
    format.hard_link_duplicates = driver.hard_link_duplicates;
    format.remote_access = driver.remote_access;
    format.is_file = driver.is_file;
    format.ui_popdown = driver.ui_popdown;
    format.ui_popup = driver.ui_popup;
    return format;
}

// A description that comes from the message catalogue is a private copy of its default text.
bool owns_description(const ZOR_FORMAT &format) { return format.description_set != 0; }

} // namespace

int32_t register_format(const ZOR_DRIVER &driver, bool built_in) {
    auto *entry = allocate<FormatEntry>();
    if (entry == nullptr)
        return set_status(ZOR_E_MEMORY);
    *entry = {nullptr, built_in ? 1 : 0, format_of(driver)};
    if (owns_description(entry->format)) {
        entry->format.description = STR_save(driver.description_default);
        if (entry->format.description == nullptr) {
            ERR_free(entry);
            return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
        }
    }
    dst_list_append(registry.formats, entry);
    return 0;
}

void clear_registry() {
    ERR_free(registry.drivers);
    while (registry.formats != nullptr && dst_list_count(registry.formats) > 0) {
        auto *entry = static_cast<FormatEntry *>(dst_list_pop_first(registry.formats));
        if (owns_description(entry->format))
            ERR_free(const_cast<char *>(entry->format.description));
        ERR_free(entry);
    }
    if (registry.formats != nullptr)
        dst_list_destroy(registry.formats);
    registry = {};
}

} // namespace zor
