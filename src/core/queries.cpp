// queries.cpp - which formats there are, and which one a file is of.
#include "core/registry.h"
#include "fmt/defaults.h"
#include "platform/platform.h"
#include "zor/str.h"

using zor::FormatEntry;
using zor::registry;

namespace {

// A search of the whole registry. One that finds nothing puts the cursor back; one that did leaves
// it behind the match. A driver's test may move the cursor itself, so the search does not depend on
// it.
class Search {
public:
    Search() : saved_(static_cast<FormatEntry *>(dst_list_get_cursor(registry.formats))) {
        registry.saved_cursor = saved_;
        next_ = static_cast<FormatEntry *>(dst_list_first(registry.formats));
    }
    FormatEntry *step() {
        FormatEntry *entry = next_;
        next_ = entry != nullptr ? entry->next : nullptr;
        return entry;
    }
    void found() { dst_list_set_cursor(registry.formats, next_); }
    void found_nothing() { dst_list_set_cursor(registry.formats, saved_); }

private:
    FormatEntry *saved_;
    FormatEntry *next_;
};

} // namespace

const ZOR_FORMAT *ZOR_find(const char *text) {
    if (!zor::start_on_demand("ZOR_find"))
        return nullptr;
    Search search;
    while (FormatEntry *entry = search.step()) {
        const ZOR_FORMAT &format = entry->format;
        if (STR_compare(text, format.key) == 0 || STR_compare(text, format.extension) == 0) {
            search.found();
            return &format;
        }
    }
    search.found_nothing();
    return nullptr;
}

const ZOR_FORMAT *ZOR_info(void) {
    if (!zor::start_on_demand("ZOR_info"))
        return nullptr;
    FormatEntry *entry;
    do
        entry = static_cast<FormatEntry *>(dst_list_step(registry.formats));
    while (entry != nullptr && entry->built_in != 0);
    registry.saved_cursor = static_cast<FormatEntry *>(dst_list_get_cursor(registry.formats));
    return entry != nullptr ? &entry->format : nullptr;
}

const char *ZOR_is_file_type(void *name, void *stream, const char *key, unsigned char *tried) {
    unsigned char ignored;
    tried = tried != nullptr ? tried : &ignored;
    *tried = 0;
    // The probes share the name of ZOR_find in the start-up report.
    if (!zor::start_on_demand("ZOR_find"))
        return nullptr;
    if (key == nullptr)
        return ZOR_get_file_type(name, stream, tried);

    Search search;
    *tried = 1;
    // Files tend to come in series of one format, so the entry that matched last goes first.
    const FormatEntry *last = registry.last_match;
    if (last != nullptr && STR_compare(last->format.key, key) == 0 &&
        last->format.is_file != nullptr && last->format.is_file(name, stream) != 0) {
        search.found();
        return last->format.key;
    }
    while (FormatEntry *entry = search.step()) {
        registry.last_match = entry;
        if (STR_compare(entry->format.key, key) != 0)
            continue;
        if (entry->format.is_file == nullptr) {
            *tried = 0;
        } else if (entry->format.is_file(name, stream) != 0) {
            search.found();
            return entry->format.key;
        }
    }
    search.found_nothing();
    return nullptr;
}

const char *ZOR_get_file_type(void *name, void *stream, unsigned char *tried) {
    const zor::platform::Lock lock(zor::platform::library_mutex());
    unsigned char ignored;
    tried = tried != nullptr ? tried : &ignored;
    *tried = 0;
    if (!zor::start_on_demand("ZOR_find"))
        return nullptr;

    const zor::platform::BinaryMode binary;
    Search search;
    *tried = 1;
    while (FormatEntry *entry = search.step()) {
        if (entry->format.is_file == nullptr) {
            *tried = 0;
        } else if (entry->format.is_file(name, stream) == 1) { // any other answer means no here
            search.found();
            return entry->format.key;
        }
    }
    search.found_nothing();
    return *tried != 0 ? "__none_" : nullptr;
}

const char *ZOR_name_from_key(const char *key) {
    if (key == nullptr)
        return nullptr;
    const ZOR_FORMAT *format = ZOR_find(key);
    if (format == nullptr) {
        ERR_report_cat(zor__msg_cat, ZOR_MSG_UNKNOWN_KEY, key);
        return key;
    }
    return format->name != nullptr ? format->name : key;
}

const char *ZOR_def_key(void) {
    zor::start_on_demand("ZOR_def_key"); // there is an answer even when this fails
    return fmt__def_key();
}

const char *ZOR_def_base_name(void) {
    zor::start_on_demand("ZOR_def_base_name");
    return fmt__def_base_name();
}

void ZOR_info_get_specific(const char *key, const ZOR_FORMAT *format, ZOR_CAPABILITY **list,
                           int32_t *first, int32_t *second, int32_t *count) {
    if (key != nullptr) {
        format = ZOR_find(key);
        if (format == nullptr) {
            ERR_report_cat(zor__msg_cat, ZOR_MSG_UNKNOWN_KEY, key);
            return;
        }
    }
    *list = nullptr;
    *first = 0;
    *second = 0;
    *count = 0;
    if (format != nullptr && format->capability != nullptr)
        format->capability(list, first, second, count);
}

int32_t ZOR_info_num_specific(int32_t *first, int32_t *second) {
    *first = registry.most_first;
    *second = registry.most_second;
    return registry.most_second;
}
