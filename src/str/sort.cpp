// sort.cpp - pointer arrays sorted by their strings, in place and without memory.
#include <cstring>
#include <utility>

#include "str/sequence.h"
#include "zor/str.h"

using namespace zor;

namespace {

using Comparator = int (*)(const char *a, const char *b);

int compare_reverse(const char *a, const char *b) { return STR_compare(b, a); }

int compare_collate(const char *a, const char *b) { return std::strcoll(a, b); }

// Makes a heap, in which no node orders after its parent, of a node whose children head heaps
// already. Nodes are counted from 1: node i has the children 2i and 2i + 1.
void sift_down(char **array, size_t node, size_t size, Comparator compare) {
    char *const value = array[node - 1];
    for (size_t child; (child = 2 * node) <= size; node = child) {
        if (child < size && compare(array[child - 1], array[child]) < 0)
            ++child;
        if (compare(value, array[child - 1]) >= 0)
            break;
        array[node - 1] = array[child - 1];
    }
    array[node - 1] = value;
}

char **heapsort(char **array, Comparator compare) {
    const size_t size = seq::length(array);
    for (size_t node = size / 2; node > 0; --node)
        sift_down(array, node, size, compare);
    for (size_t left = size; left > 1; --left) {
        std::swap(array[0], array[left - 1]);
        sift_down(array, 1, left - 1, compare);
    }
    return array;
}

} // namespace

char **STR_sort(char **array) { return heapsort(array, STR_compare); }

char **STR_sort_reverse(char **array) { return heapsort(array, compare_reverse); }

char **STR_sort_collate(char **array) { return heapsort(array, compare_collate); }
