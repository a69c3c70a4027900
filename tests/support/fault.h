// fault.h - lets allocations fail on purpose. For tests linked with the library's own objects.
//
//     for_each_failing_allocation([](Fault &) { ...one scenario, start to end... });
//
// runs the scenario again and again, the first, second, third... allocation failing each time, and
// then also all allocations from there on, until a run gets by without the failure. The program
// says in the end how many points were tried.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "err/memory.h"
#include "zor/err.h"

// The points at which something failed on purpose in this program.
struct FaultPoints {
    ~FaultPoints() {
        if (count > 0)
            std::printf("fault points: %ld\n", count);
    }
    long count = 0;
};
inline FaultPoints fault_points;

class Fault {
public:
    // The n-th allocation from now on fails, counted from 1; with "all" also every later one.
    explicit Fault(long n, bool all = false) : left_(n), all_(all) {
        active_ = this;
        zor::set_allocator({&Fault::allocate, &Fault::reallocate, &Fault::release});
    }
    ~Fault() {
        zor::set_allocator({std::malloc, std::realloc, std::free});
        active_ = nullptr;
        fault_points.count += struck_ ? 1 : 0;
    }
    Fault(Fault &&) = delete;

    [[nodiscard]] bool struck() const { return struck_; }

    // Blocks handed out and not given back while this was active.
    [[nodiscard]] long live() const { return live_; }

private:
    bool fails() {
        --left_;
        const bool failing = left_ == 0 || (all_ && left_ < 0);
        struck_ = struck_ || failing;
        return failing;
    }
    static void *allocate(size_t size) { return reallocate(nullptr, size); }
    static void *reallocate(void *block, size_t size) {
        if (active_->fails())
            return nullptr;
        active_->live_ += block == nullptr ? 1 : 0;
        return std::realloc(block, size);
    }
    static void release(void *block) {
        active_->live_ -= block != nullptr ? 1 : 0;
        std::free(block);
    }

    inline static Fault *active_ = nullptr;
    long left_;
    bool all_;
    bool struck_ = false;
    long live_ = 0;
};

// Runs a scenario with each of its allocations failing in turn, and then with the later ones
// failing too, unless they are "single". Returns how many there were.
enum class Failing { single, and_later };
template<class Scenario>
long for_each_failing_allocation(Scenario scenario, Failing failing = Failing::and_later) {
    long points = 0;
    for (const bool all : {false, true})
        for (long n = 1; !all || failing == Failing::and_later; ++n) {
            Fault fault(n, all);
            scenario(fault);
            points = all ? points : n - 1;
            if (!fault.struck())
                break;
        }
    return points;
}
