// memory.cpp - the checked allocator, through which all of the library's memory comes.
#include "err/memory.h"

#include <cstdint>
#include <cstdlib>

#include "zor/err.h"
#include "zor/messages.h"

namespace {

// Set by tests only, while nothing else runs.
constinit zor::Allocator allocator = {std::malloc, std::realloc, std::free};

// No block can be larger, whatever the runtime makes of the request.
bool is_possible(size_t size) { return size <= PTRDIFF_MAX; }

// Some runtimes answer a request for nothing with null, or free the block: neither is exhaustion.
size_t at_least_one(size_t size) { return size == 0 ? 1 : size; }

void *checked(void *block) {
    if (block == nullptr)
        ERR_report_cat(zor__msg_cat, ZOR_MSG_NO_MEMORY);
    return block;
}

} // namespace

void zor::set_allocator(const Allocator &replacement) { allocator = replacement; }

void *zor::quiet_malloc(size_t size) {
    return is_possible(size) ? allocator.allocate(at_least_one(size)) : nullptr;
}

void *zor::quiet_realloc(void *block, size_t size) {
    return is_possible(size) ? allocator.reallocate(block, at_least_one(size)) : nullptr;
}

void *ERR_malloc(size_t size) { return checked(zor::quiet_malloc(size)); }

void *ERR_realloc(void *block, size_t size) { return checked(zor::quiet_realloc(block, size)); }

int ERR_free(void *block) {
    allocator.release(block);
    return 1;
}
