// sequence.h - what strings and pointer arrays have in common: both end at a zero element, live in
// a block of their own and are edited by index.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "err/memory.h"

namespace zor::seq {

// Elements before the zero; 0 for null.
template<class T>
size_t length(const T *sequence) {
    if (sequence == nullptr)
        return 0;
    if constexpr (sizeof(T) == 1)
        return std::strlen(sequence);
    size_t n = 0;
    while (sequence[n] != T{})
        ++n;
    return n;
}

// The same for the first n elements alone, none when n is negative: what lies behind is not read.
template<class T>
size_t length_within(const T *sequence, int32_t n) {
    const size_t limit = sequence == nullptr || n < 0 ? 0 : static_cast<size_t>(n);
    size_t size = 0;
    while (size < limit && sequence[size] != T{})
        ++size;
    return size;
}

inline size_t clamp_index(int32_t index, size_t size) {
    return index < 0 ? 0 : std::min(static_cast<size_t>(index), size);
}

// Storage for n elements and the zero: a new, empty sequence for null, otherwise the old one,
// possibly moved, with its contents but no zero of its own. Null when memory ran out or there can
// be no such block. Sizes come in 64 bits, so that sums of lengths cannot wrap.
template<class T>
[[nodiscard]] T *more(T *sequence, uint64_t n) {
    if (n >= PTRDIFF_MAX / sizeof(T))
        return nullptr;
    const size_t size = (static_cast<size_t>(n) + 1) * sizeof(T);
    if (sequence != nullptr)
        return static_cast<T *>(quiet_realloc(sequence, size));
    T *fresh = static_cast<T *>(quiet_malloc(size));
    if (fresh != nullptr)
        *fresh = T{};
    return fresh;
}

// A new sequence of the first n elements of the source.
template<class T>
[[nodiscard]] T *save(const T *source, size_t n) {
    T *copy = more<T>(nullptr, n);
    if (copy == nullptr)
        return nullptr;
    *std::copy_n(source, n, copy) = T{};
    return copy;
}

// Moves the elements from an index on, the zero included, to make room for n that the caller fills
// in. The index is at most the length.
template<class T>
[[nodiscard]] T *open_gap(T *sequence, size_t index, size_t n) {
    const size_t size = length(sequence);
    T *wider = more(sequence, uint64_t{size} + n);
    if (wider == nullptr)
        return nullptr;
    std::copy_backward(wider + index, wider + size + 1, wider + size + n + 1);
    return wider;
}

// Inserts the first n elements of a source that is no part of the sequence.
template<class T>
[[nodiscard]] T *insert(T *sequence, const T *source, size_t index, size_t n) {
    T *wider = open_gap(sequence, index, n);
    if (wider == nullptr)
        return nullptr;
    std::copy_n(source, n, wider + index);
    return wider;
}

// Removes n elements from an index on; those that would lie before the sequence or behind it are
// not there to be removed.
template<class T>
T *remove(T *sequence, int64_t index, int64_t n) {
    if (index < 0) {
        n += index;
        index = 0;
    }
    const auto size = static_cast<int64_t>(length(sequence));
    n = std::min(n, size - index);
    if (n > 0)
        std::copy(sequence + index + n, sequence + size + 1, sequence + index);
    return sequence;
}

// The first or last element equal to a value, or null.
template<class T, class Value>
T *find(T *sequence, Value value) {
    T *const end = sequence + length(sequence);
    T *const found = std::find(sequence, end, value);
    return found == end ? nullptr : found;
}

template<class T, class Value>
T *find_reverse(T *sequence, Value value) {
    for (size_t i = length(sequence); i > 0; --i)
        if (sequence[i - 1] == value)
            return sequence + i - 1;
    return nullptr;
}

// Removes what find or find_reverse found.
template<class T>
T *remove_found(T *sequence, const T *found) {
    return found == nullptr ? sequence : remove(sequence, found - sequence, 1);
}

template<class T>
T *reverse(T *sequence) {
    std::reverse(sequence, sequence + length(sequence));
    return sequence;
}

} // namespace zor::seq
