// dice.h - what tests of anything at all are told to do, by a random number or by a fuzz input.
#pragma once

#include <cstddef>
#include <cstdint>

#include "zor/driver.h"

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

// Up to so many channels of any kind.
inline ZOR_CHANNELS any_group(Dice &dice, int most) {
    const int count = dice.roll(most + 1);
    const int bits = dice.pick({8, 8, 8, 16, 16, 1, 2, 4, 5, 10, 12, 24, 32});
    const int type =
        dice.pick({ZOR_C_INTEGER, ZOR_C_INTEGER, ZOR_C_INTEGER, ZOR_C_FLOAT, ZOR_C_DOUBLE});
    return {count, type, type == ZOR_C_INTEGER ? bits : type == ZOR_C_FLOAT ? 32 : 64};
}
