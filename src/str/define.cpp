// define.cpp - shared strings: one counted copy for each text.
#include <cstdint>

#include "err/memory.h"
#include "str/text.h"
#include "zor/err.h"
#include "zor/str.h"

using namespace zor;

namespace {

struct Entry {
    Entry *next;
    uint32_t count;
    char *string; // the entry's own
};
static_assert(sizeof(void *) != 4 || sizeof(Entry) == 12);

constexpr uint32_t bucket_count = 1023;

// Every text that is defined and not yet undefined; lives as long as the process, unguarded.
struct {
    Entry *buckets[bucket_count];
} table;

Entry *&bucket(const char *string) { return table.buckets[STR_hash(string, bucket_count)]; }

// The link to a text's entry, or the one at the end of its chain.
Entry **find(const char *string) {
    Entry **link = &bucket(string);
    while (*link != nullptr && STR_compare((*link)->string, string) != 0)
        link = &(*link)->next;
    return link;
}

} // namespace

const char *STR_define(const char *string) {
    string = or_empty(string);
    if (Entry *known = *find(string)) {
        ++known->count;
        return known->string;
    }
    auto *entry = static_cast<Entry *>(quiet_malloc(sizeof(Entry)));
    if (entry == nullptr)
        return nullptr;
    char *saved = STR_save(string);
    if (saved == nullptr) {
        ERR_free(entry);
        return nullptr;
    }
    // At the head of the chain: what was just defined is asked for soonest.
    Entry *&head = bucket(string);
    *entry = {head, 1, saved};
    head = entry;
    return saved;
}

int STR_undefine(const char *string) {
    string = or_empty(string);
    Entry **link = find(string);
    Entry *entry = *link;
    if (entry == nullptr || --entry->count > 0)
        return 0;
    *link = entry->next;
    ERR_free(entry->string);
    ERR_free(entry);
    return 0;
}

int STR_undefine_array(char **array) {
    if (array == nullptr)
        return 0;
    for (char **slot = array; *slot != nullptr; ++slot)
        STR_undefine(*slot);
    ERR_free(array);
    return 0;
}
