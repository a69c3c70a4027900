// shift_row.h - integers of another width, by a shift.
#pragma once

#include <cstdint>
#include <cstring>

namespace zor {

// Converts a row in place, from its front; samples shrink or keep their size. A few samples go to
// registers before they are stored, since the row's two types must not meet in the loop that is
// vectorised.
//   known  the shift, where that makes a faster loop; 0: any
//   shift  to the right; to the left when negative
template<class From, class To, int known>
void shift_row(void *row, int64_t count, int32_t shift) {
    constexpr int64_t step = 32;
    const auto *from = static_cast<const From *>(row);
    auto *to = static_cast<char *>(row);
    const int right = known != 0 ? known : shift > 0 ? shift : 0;
    const int left = known != 0 || shift > 0 ? 0 : -shift;
    const auto convert = [=](uint32_t sample) { return static_cast<To>(sample >> right << left); };
    int64_t x = 0;
    for (; x + step <= count; x += step) {
        To converted[step];
        for (int64_t i = 0; i < step; ++i)
            converted[i] = convert(from[x + i]);
        std::memcpy(to + x * static_cast<int64_t>(sizeof(To)), converted, sizeof converted);
    }
    for (; x < count; ++x) {
        const To converted = convert(from[x]);
        std::memcpy(to + x * static_cast<int64_t>(sizeof(To)), &converted, sizeof converted);
    }
}

// The function for a shift.
template<class From, class To>
auto choose_shift_row(int32_t shift) {
    return shift == 8 ? &shift_row<From, To, 8> : &shift_row<From, To, 0>;
}

} // namespace zor
