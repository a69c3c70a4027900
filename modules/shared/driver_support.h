// driver_support.h - what driver modules written in C++ share: records of the checked allocator,
// file sizes, line numbers.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include <zor/driver.h>

namespace driver {

// No row may need more: a wider picture is taken for a damaged header or a mistake.
constexpr int64_t largest_row = int64_t{1} << 30;

// Sets zor__err after a failure that has been reported by the one who failed. Atomic as in the
// library, since other threads may be opening or moving images.
inline int32_t set_status(int32_t status) {
    std::atomic_ref<int32_t>(zor__err).store(status, std::memory_order_relaxed);
    return status;
}

// A block of ERR_malloc; null, with zor__err set, when memory ran out or the size is absurd.
inline void *allocate(int64_t size) {
    const bool fits = size >= 0 && static_cast<uint64_t>(size) <= PTRDIFF_MAX;
    void *block = ERR_malloc(fits ? static_cast<size_t>(size) : SIZE_MAX);
    if (block == nullptr)
        set_status(ZOR_E_MEMORY);
    return block;
}

// A cleared record, released with ERR_free.
template<class Record>
Record *make() {
    static_assert(std::is_trivially_copyable_v<Record>);
    void *block = allocate(sizeof(Record));
    if (block != nullptr)
        std::memset(block, 0, sizeof(Record));
    return static_cast<Record *>(block);
}

// The pointer that a forwarded word carries.
template<class Value>
Value *pointer_in(ZOR_WORD word) {
    return std::bit_cast<Value *>(word);
}

// Replaces a text of a handle. False, reported, when memory ran out; the old text then stays.
inline bool replace_text(char **field, const char *text) {
    char *copy = STR_save(text);
    if (copy == nullptr)
        return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY) == 0;
    ERR_free(*field);
    *field = copy;
    return true;
}

// Bytes in a file whose rows can be reached by their position; -1 for the standard input, pipes,
// devices and whatever else has no size. The stream stays where it is.
inline int64_t file_size(FILE *file) {
    if (file == stdin)
        return -1;
    const int64_t position = ftello(file);
    if (position < 0 || fseeko(file, 0, SEEK_END) != 0)
        return -1;
    const int64_t size = ftello(file);
    return fseeko(file, static_cast<off_t>(position), SEEK_SET) == 0 && size > 0 ? size : -1;
}

// What a file may take in memory. A damaged header can ask for any amount, but a sound picture
// larger than the slack is never more than so many times as large as its file. Where the file has
// no size, -1, a picture may be as large as a row.
inline int64_t memory_limit(int64_t file_size, int64_t largest_ratio) {
    constexpr int64_t most = PTRDIFF_MAX / 2;
    constexpr int64_t slack = int64_t{64} << 20;
    return file_size < 0                                ? largest_row
           : file_size > (most - slack) / largest_ratio ? most
                                                        : slack + largest_ratio * file_size;
}

// Runs a test on the rewound stream, or on the named file when there is no stream.
template<class Test>
unsigned char is_file(void *name, void *stream, Test test) {
    auto *file = static_cast<FILE *>(stream);
    if (file == nullptr && name != nullptr)
        file = zor__open_named_file(static_cast<const char *>(name), "rb");
    if (file == nullptr)
        return 0;
    std::rewind(file);
    const bool recognised = test(file);
    if (stream == nullptr)
        std::fclose(file);
    return recognised ? 1 : 0;
}

// Where scanline y stands in a file of height lines, counted from 0 for the first; -1 when it is
// not in the picture. Lines rise from the window's bottom or fall from its top.
inline int32_t line_index(int32_t y, int32_t bottom, int32_t height, bool rising) {
    const int64_t index = rising ? int64_t{y} - bottom : int64_t{bottom} + height - 1 - y;
    return index >= 0 && index < height ? static_cast<int32_t>(index) : -1;
}

// Width and height of a description's window.
inline int32_t window_width(const ZOR_IMAGE_DESC &desc) {
    return desc.win_right - desc.win_left + 1;
}
inline int32_t window_height(const ZOR_IMAGE_DESC &desc) {
    return desc.win_top - desc.win_bottom + 1;
}

} // namespace driver
