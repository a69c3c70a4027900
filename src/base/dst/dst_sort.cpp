// dst_sort.cpp - sorting and merging arrays of pointers.
#include "base/dst/dst_sort.h"

#include <utility>

namespace {

struct Range {
    int32_t low;
    int32_t high;

    [[nodiscard]] bool worth_sorting() const { return low < high; }
    [[nodiscard]] int32_t length() const { return high - low; }
};

// Splits a range in two, the first of entries no greater than the pivot, the second of entries no
// less. The ends of the range are tested as well as the order, so that a comparison that
// contradicts itself gives a wrong order and nothing worse.
std::pair<Range, Range> partition(void **array, Range range, dst_compare compare) {
    const void *pivot = array[(range.low + int64_t{range.high}) / 2];
    int32_t i = range.low;
    int32_t j = range.high;
    while (i <= j) {
        while (i < range.high && compare(array[i], pivot) < 0)
            ++i;
        while (j > range.low && compare(array[j], pivot) > 0)
            --j;
        if (i <= j)
            std::swap(array[i++], array[j--]);
    }
    return {{range.low, j}, {i, range.high}};
}

} // namespace

void dst_sort(void **array, int32_t count, dst_compare compare) {
    if (count < 2)
        return;
    // The larger part waits while the smaller, at most half as long, is sorted at once: 32 places
    // do for any count.
    Range waiting[32];
    int depth = 0;
    Range range = {0, count - 1};
    while (true) {
        while (range.worth_sorting()) {
            auto [smaller, larger] = partition(array, range, compare);
            if (smaller.length() > larger.length())
                std::swap(smaller, larger);
            if (larger.worth_sorting())
                waiting[depth++] = larger;
            range = smaller;
        }
        if (depth == 0)
            return;
        range = waiting[--depth];
    }
}

int32_t dst_merge(void *const *a, int32_t count_a, void *const *b, int32_t count_b, void **merged,
                  dst_compare compare) {
    if (int64_t{count_a} + count_b < 1)
        return 0;
    int32_t i = 0;
    int32_t j = 0;
    int32_t written = 0;
    while (i < count_a && j < count_b) {
        const int order = compare(a[i], b[j]);
        if (order <= 0)
            merged[written++] = a[i++];
        if (order >= 0)
            merged[written++] = b[j++];
    }
    while (i < count_a)
        merged[written++] = a[i++];
    while (j < count_b)
        merged[written++] = b[j++];
    return written;
}
