// spaces.cpp - the sample spaces of the colour database.
#include "clr/spaces.h"

#include <algorithm>
#include <cstring>

#include "zor/err.h"

namespace zor::clr {

Space *make_space(int32_t n) {
    const size_t numbers = static_cast<size_t>(block_size(n)) * sizeof(float);
    auto *space = static_cast<Space *>(ERR_malloc(sizeof(Space) + numbers));
    if (space == nullptr)
        return nullptr;
    auto *block = reinterpret_cast<float *>(space + 1);
    std::memset(block, 0, numbers);
    const Bins bins = lay_out(n, block);
    *space = {{n, 0, bins.bounds, bins.inv_width, bins.to_xyz, bins.from_xyz}, block};
    return space;
}

void Spaces::set(int32_t n, Space *space) {
    ERR_free(by_n_[n]);
    by_n_[n] = space;
    highest_ = std::max(highest_, n);
}

void Spaces::clear() {
    for (int32_t n = 1; n <= highest_; ++n)
        set(n, nullptr);
    highest_ = 0;
}

} // namespace zor::clr
