// dst_array.cpp - growable arrays.
#include "base/base/dst_array.h"

#include "base/base/owned.h"

namespace {

// The smallest number of whole increments, at least one, that reaches a number of elements.
int64_t whole_increments(int64_t wanted, int64_t increment) {
    return wanted <= increment ? increment : (wanted + increment - 1) / increment * increment;
}

// Moves the elements to a block for capacity elements, if there can be one.
void *resize(void *storage, int64_t capacity, int64_t elem_size) {
    const bool fits = capacity <= INT32_MAX && capacity * elem_size <= PTRDIFF_MAX;
    const size_t size = fits ? static_cast<size_t>(capacity * elem_size) : SIZE_MAX;
    return storage == nullptr ? ERR_malloc(size) : ERR_realloc(storage, size);
}

} // namespace

dst_array *dst_array_create(int32_t initial_count, int32_t increment, int32_t elem_size,
                            void **storage) {
    zor::Owned<dst_array> array(zor::allocate<dst_array>());
    if (array == nullptr || initial_count < 0 || increment < 1 || elem_size < 1)
        return nullptr;
    *storage = nullptr;
    *array = {elem_size, increment, 0, initial_count};
    if (initial_count > 0) {
        const int64_t capacity = whole_increments(initial_count, increment);
        *storage = resize(nullptr, capacity, elem_size);
        if (*storage == nullptr)
            return nullptr;
        array->capacity = static_cast<int32_t>(capacity);
    }
    return array.release();
}

int dst_array_grow(dst_array *array, int32_t extra_count, void **storage) {
    const int64_t count = int64_t{array->count} + extra_count;
    if (count < 0)
        return 0;
    // An exactly full array grows already: an unused element at the end is part of the deal.
    if (count >= array->capacity) {
        const int64_t missing = count - array->capacity;
        const int64_t capacity = array->capacity + whole_increments(missing, array->increment);
        void *moved = resize(array->capacity == 0 ? nullptr : *storage, capacity, array->elem_size);
        if (moved == nullptr)
            return 0;
        *storage = moved;
        array->capacity = static_cast<int32_t>(capacity);
    }
    array->count = static_cast<int32_t>(count);
    return 1;
}

int dst_array_free(dst_array *array, void **storage) {
    if (array == nullptr)
        return 0;
    ERR_free(array);
    if (*storage == nullptr)
        return 0;
    ERR_free(*storage);
    *storage = nullptr;
    return 1;
}
