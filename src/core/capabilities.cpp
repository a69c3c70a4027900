// capabilities.cpp - what drivers offer beyond the common interface: their descriptors are checked
// and completed at start-up, and applications choose with settings lists.
#include "core/capabilities.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/base/owned.h"
#include "core/registry.h"
#include "err/status.h"

namespace zor {

namespace {

// A name put into a driver's descriptor; the text follows the record.
struct CopiedName {
    CopiedName *next;
    const char **field;
    const char *given; // what stood in the field before
};

// Those put in since start-up, the latest first.
CopiedName *copied_names = nullptr;

char *text_of(CopiedName *name) { return reinterpret_cast<char *>(name + 1); }

bool copy_name(const char **field, const char *text) {
    const size_t size = std::strlen(text) + 1;
    auto *name = static_cast<CopiedName *>(ERR_malloc(sizeof(CopiedName) + size));
    if (name == nullptr)
        return false;
    *name = {copied_names, field, *field};
    copied_names = name;
    std::memcpy(text_of(name), text, size);
    *field = text_of(name);
    return true;
}

enum class Check { good, no_name, no_memory };

// The catalogue's text wins over a name that is given as well. Takes a descriptor or a list entry.
template<class Record>
Check complete_name(Record *record) {
    if (record->name_set != 0 && record->name_default != nullptr)
        return copy_name(&record->name, record->name_default) ? Check::good : Check::no_memory;
    return record->name != nullptr ? Check::good : Check::no_name;
}

// The hard stop is deliberate: such a driver was built wrong and must not reach its users.
[[noreturn]] void stop_at_bad_default(const char *key, const ZOR_CAPABILITY &capability) {
    std::fprintf(stderr, "%s: capability `%s' has invalid list default %d\n", key, capability.name,
                 capability.list->default_value);
    std::abort();
}

// The list of the i-th capability, which has its name already.
Check check_list(const char *key, int32_t i, const ZOR_CAPABILITY &capability) {
    ZOR_CAP_LIST *list = capability.list;
    ZOR_CAP_ENTRY *entry = list->entries;
    bool has_default = false;
    int32_t j = 0;
    for (; entry != nullptr && (entry->name != nullptr || entry->name_set != 0); ++entry, ++j) {
        const Check check = complete_name(entry);
        if (check == Check::no_name)
            ERR_report_cat(zor__msg_cat, ZOR_MSG_NO_ENTRY_NAME, key, i, j);
        if (check != Check::good)
            return check;
        has_default = has_default || entry->value == list->default_value;
    }
    list->num_entries = j;
    if (!has_default)
        stop_at_bad_default(key, capability);
    return Check::good;
}

Check check_capability(const char *key, int32_t i, ZOR_CAPABILITY *capability) {
    const Check check = complete_name(capability);
    if (check == Check::no_name)
        ERR_report_cat(zor__msg_cat, ZOR_MSG_NO_CAPABILITY_NAME, key, i);
    const bool is_choice = capability->kind == 0 && capability->list != nullptr;
    return check == Check::good && is_choice ? check_list(key, i, *capability) : check;
}

Check check_driver(const char *key) {
    ZOR_CAPABILITY *list = nullptr;
    int32_t first = 0;
    int32_t second = 0;
    int32_t count = 0;
    ZOR_info_get_specific(key, nullptr, &list, &first, &second, &count);
    for (int32_t i = 0; list != nullptr && i < count; ++i)
        if (const Check check = check_capability(key, i, &list[i]); check != Check::good)
            return check;
    registry.most_first = std::max(registry.most_first, first);
    registry.most_second = std::max(registry.most_second, second);
    return Check::good;
}

} // namespace

int32_t check_capabilities() {
    int32_t status = ZOR_OK;
    // The look-ups on the way move the registry's cursor.
    auto *entry = static_cast<FormatEntry *>(dst_list_first(registry.formats));
    for (; entry != nullptr; entry = entry->next)
        if (entry->format.capability != nullptr &&
            check_driver(entry->format.key) == Check::no_memory)
            status = ZOR_E_MEMORY;
    return status;
}

void drop_capability_names() {
    while (CopiedName *name = copied_names) {
        copied_names = name->next;
        if (*name->field == text_of(name)) // else the driver has changed it
            *name->field = name->given;
        ERR_free(name);
    }
}

namespace {

int64_t length_of(ZOR_CAP_SETTING *const *list) {
    int64_t length = 0;
    while (list != nullptr && list[length] != nullptr)
        ++length;
    return length;
}

// Fresh settings; null when memory ran out (reported).
ZOR_CAP_SETTING *new_settings(int32_t count) {
    auto *settings = allocate<ZOR_CAP_SETTING>(count);
    constexpr uint16_t no_code = 65535; // 0 is one
    for (int32_t i = 0; settings != nullptr && i < count; ++i)
        settings[i] = {no_code, 0, {0}};
    return settings;
}

// Copies what it can: a list that ends where memory ran out.
ZOR_CAP_SETTING **copy_some(ZOR_CAP_SETTING *const *list) {
    const int64_t length = length_of(list);
    if (length == 0)
        return nullptr;
    auto **copy = static_cast<ZOR_CAP_SETTING **>(ERR_malloc(array_size<void *>(length + 1)));
    if (copy == nullptr)
        return nullptr;
    int64_t i = 0;
    for (; i < length && (copy[i] = new_settings(1)) != nullptr; ++i)
        *copy[i] = *list[i];
    copy[i] = nullptr;
    return copy;
}

bool are_equal(const ZOR_CAP_SETTING &a, const ZOR_CAP_SETTING &b) {
    switch (a.code) {
    case 0:
        return a.value.number == b.value.number;
    case 1:
        return a.value.real == b.value.real;
    default:
        ERR_report_cat(zor__msg_cat, ZOR_MSG_UNKNOWN_CAPABILITY, a.code);
        return false;
    }
}

} // namespace

bool copy_settings(ZOR_CAP_SETTING ***copy, ZOR_CAP_SETTING *const *list) {
    *copy = copy_some(list);
    if (length_of(*copy) == length_of(list))
        return true;
    free_settings(*copy);
    *copy = nullptr;
    return false;
}

void free_settings(ZOR_CAP_SETTING **list) {
    for (ZOR_CAP_SETTING **setting = list; setting != nullptr && *setting != nullptr; ++setting)
        ERR_free(*setting);
    ERR_free(list);
}

} // namespace zor

ZOR_CAP_SETTING *ZOR_cap_setting_alloc(int32_t count) {
    auto *settings = count < 0 ? nullptr : zor::new_settings(count);
    if (settings == nullptr)
        zor::set_status(count < 0 ? ZOR_E_ARGUMENT : ZOR_E_MEMORY);
    return settings;
}

ZOR_CAP_SETTING **ZOR_cap_setting_copy(ZOR_CAP_SETTING *const *list) {
    ZOR_CAP_SETTING **copy = zor::copy_some(list);
    if (zor::length_of(copy) != zor::length_of(list))
        zor::set_status(ZOR_E_MEMORY);
    return copy;
}

unsigned char ZOR_cap_setting_compare(ZOR_CAP_SETTING *const *a, ZOR_CAP_SETTING *const *b) {
    const int64_t a_length = zor::length_of(a);
    const int64_t b_length = zor::length_of(b);
    if (a_length == 0 || b_length == 0)
        return a_length == b_length ? 1 : 0;
    int64_t next = 0; // the search never starts over, so order counts
    for (int64_t i = 0; i < a_length; ++i) {
        while (next < b_length && b[next]->code != a[i]->code)
            ++next;
        if (next == b_length || !zor::are_equal(*a[i], *b[next++]))
            return 0;
    }
    return 1;
}

unsigned char ZOR_capabilities_available(const ZOR_FORMAT *format, ZOR_WORD x, ZOR_WORD y) {
    if (format == nullptr || format->caps_avail_update == nullptr)
        return 0;
    return format->caps_avail_update(x, y);
}

unsigned char ZOR_set_available(ZOR_CAPABILITY *capability, unsigned char available) {
    const bool was = (capability->flags & ZOR_CAP_UNAVAILABLE) == 0;
    if (was == (available != 0))
        return 0;
    capability->flags ^= ZOR_CAP_UNAVAILABLE;
    return 1;
}
