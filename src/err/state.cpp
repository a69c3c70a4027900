// state.cpp - the reporter's memory: masks, counters and the ring of recent reports.
#include <cstdint>

#include "err/reporter.h"

namespace {

constexpr int ring_size = 16;

// Lives as long as the process and needs no start-up. Unguarded: the library reports from one
// thread at a time. Should two threads report at once all the same, counts may be lost, but every
// index stays in its range.
struct {
    int32_t all_masked = 0;
    uint8_t masked[zor::severity_count] = {1, 0, 0, 0, 0}; // debug reports start masked
    uint32_t counts[zor::severity_count] = {};
    ERR_OBJECT *ring[ring_size] = {}; // null until used
    int latest = ring_size - 1;       // so that the first report lands in slot 0
} state;

int set_mask(ERR_OBJECT *record, bool masked) {
    if (record == nullptr) {
        const int previous = state.all_masked;
        state.all_masked = masked ? 1 : 0;
        return previous;
    }
    const bool previous = (record->flags & zor::record_masked) != 0;
    record->flags = masked ? record->flags | zor::record_masked //
                           : record->flags & ~zor::record_masked;
    return previous ? 1 : 0;
}

int set_severity_mask(int severity, uint8_t masked) {
    if (!zor::is_severity(severity))
        return 0;
    const int previous = state.masked[severity];
    state.masked[severity] = masked;
    return previous;
}

} // namespace

namespace zor {

int report_mask(int severity) {
    if (state.all_masked != 0)
        return state.all_masked;
    return is_severity(severity) ? state.masked[severity] : 0;
}

void count_report(int severity) {
    if (is_severity(severity))
        ++state.counts[severity];
}

void remember_report(ERR_OBJECT *record) {
    const int slot = (state.latest + 1) % ring_size;
    state.ring[slot] = record;
    state.latest = slot;
}

} // namespace zor

int ERR_mask(ERR_OBJECT *record) { return set_mask(record, true); }
int ERR_unmask(ERR_OBJECT *record) { return set_mask(record, false); }

int ERR_mask_s(int severity) { return set_severity_mask(severity, 1); }
int ERR_unmask_s(int severity) { return set_severity_mask(severity, 0); }

uint32_t ERR_stats(int severity) {
    if (zor::is_severity(severity))
        return state.counts[severity];
    uint32_t sum = 0;
    if (severity == -1)
        for (const uint32_t count : state.counts)
            sum += count;
    return sum;
}

ERR_OBJECT *ERR_last(int n) {
    // One step round the ring, so that 16 is the latest again; beyond that there is nothing.
    int64_t slot = int64_t{state.latest} - n;
    if (slot < 0)
        slot += ring_size;
    return slot >= 0 && slot < ring_size ? state.ring[slot] : nullptr;
}
