// choices.h - takes what a target does from the front of an input; all zeros when that is used up.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>

#include "ops/dice.h"

class Choices final : public Dice {
public:
    Choices(const uint8_t *data, size_t size) : data_(data), size_(size) {}

    [[nodiscard]] bool more() const { return size_ > 0; }

    // Any bits at all.
    template<class T>
    T bits() {
        uint8_t bytes[sizeof(T)] = {};
        const size_t taken = size_ < sizeof bytes ? size_ : sizeof bytes;
        std::copy_n(data_, taken, bytes); // there may be none, at null
        drop(taken);
        T value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }

    // Up to a NUL, or so many characters.
    std::string text(size_t most) {
        const uint8_t *const end = data_ + std::min(most, size_);
        const uint8_t *const nul = std::find(data_, end, 0);
        std::string result(data_, nul);
        drop(result.size() + (nul != end ? 1 : 0));
        return result;
    }

private:
    uint32_t below(uint32_t sides) override {
        return (sides <= 256 ? bits<uint8_t>() : bits<uint32_t>()) % sides;
    }
    void drop(size_t count) {
        data_ += count;
        size_ -= count;
    }

    const uint8_t *data_;
    size_t size_;
};
