// dice.h - what tests of anything at all are told to do, by a random number or by a fuzz input.
#pragma once

#include <cstddef>
#include <cstdint>

class Dice {
public:
    int roll(int sides) { return static_cast<int>(below(static_cast<uint32_t>(sides))); }
    bool toss() { return roll(2) == 0; }
    template<class T, size_t n>
    const T &pick(const T (&from)[n]) {
        return from[roll(int{n})];
    }

protected:
    Dice() = default;
    Dice(const Dice &) = default;
    Dice &operator=(const Dice &) = default;
    ~Dice() = default;

private:
    virtual uint32_t below(uint32_t sides) = 0;
};
