// any_operator.h - every operator, pushed with arguments that dice choose, and what is to be seen
// of it from outside.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>

#include "ops/arguments.h"
#include "ops/dice.h"
#include "ops/state.h"

// An operator: a push with arguments from the dice, and its undo.
struct Operator {
    void (*push)(ZOR_IMAGE *image, Dice &dice);
    int (*undo)(ZOR_IMAGE *image);
};

// What arguments are chosen from.
inline ZOR_TARGET targets[] = {{ZOR_C_INTEGER, 4}, {ZOR_C_INTEGER, 8},  {ZOR_C_INTEGER, 8},
                               {ZOR_C_INTEGER, 8}, {ZOR_C_INTEGER, 16}, {ZOR_C_INTEGER, 32}};
inline ZOR_RANGE ranges[] = {{-1, 0.5F}, {-1, 1}, {0, 0.5F}, {0, 1}, {0.25F, 0.5F}, {0.25F, 1}};
inline ZOR_RESPONSE_CURVE curves[] = {power(1), power(1.8F), power(2.2F)};

// For each group one of a table, or nothing.
template<class T, size_t n>
ByGroup<T> any_of(Dice &dice, const T (&table)[n]) {
    const auto any = [&] { return dice.roll(3) != 0 ? &dice.pick(table) : nullptr; };
    return {any(), any(), any()};
}

template<auto push>
void with_curve(ZOR_IMAGE *image, Dice &dice) {
    push(image, &dice.pick(curves));
}

inline const Operator operators[] = {
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__select(image, dice.roll(2)); }, &ZOR__select_undo},
    {[](ZOR_IMAGE *image, Dice &) { ZOR__cast(image); }, &ZOR__cast_undo},
    {[](ZOR_IMAGE *image, Dice &dice) {
         const auto to = any_of(dice, targets);
         ZOR__quantize(image, to, dice.toss() ? &dice.pick(curves) : nullptr);
     },
     &ZOR__quantize_undo},
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__change_width(image, any_of(dice, targets)); },
     &ZOR__change_width_undo},
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__remap(image, any_of(dice, ranges)); },
     &ZOR__remap_undo},
    {[](ZOR_IMAGE *image, Dice &dice) { ZOR__min_max(image, any_of(dice, ranges)); },
     &ZOR__min_max_undo},
    {[](ZOR_IMAGE *image, Dice &dice) {
         float factors[3];
         for (float &factor : factors)
             factor = dice.pick({1.0F, -1.0F, 0.5F, 3.0F});
         ZOR__scale(image, factors);
     },
     &ZOR__scale_undo},
    {[](ZOR_IMAGE *image, Dice &) { ZOR__clip(image); }, &ZOR__clip_undo},
    {[](ZOR_IMAGE *image, Dice &) { ZOR__samples_to_rgb(image); }, &ZOR__samples_to_rgb_undo},
    {[](ZOR_IMAGE *image, Dice &) { ZOR__samples_to_xyz(image); }, &ZOR__samples_to_xyz_undo},
    {with_curve<ZOR__samples_to_display>, &ZOR__samples_to_display_undo},
    {with_curve<ZOR__samples_to_luminance>, &ZOR__samples_to_luminance_undo},
    {with_curve<ZOR__gamma>, &ZOR__gamma_undo},
    {with_curve<ZOR__rgb_transform>, &ZOR__rgb_transform_undo},
    {with_curve<ZOR__xyz_transform>, &ZOR__xyz_transform_undo},
    {with_curve<ZOR__rgb_luminance>, &ZOR__rgb_luminance_undo},
    {with_curve<ZOR__xyz_luminance>, &ZOR__xyz_luminance_undo},
    {[](ZOR_IMAGE *image, Dice &dice) {
         const int width = 1 + dice.roll(80);
         const int height = 1 + dice.roll(8);
         ZOR__resize(image, width, height, dice.roll(5));
     },
     &ZOR__resize_undo},
    {[](ZOR_IMAGE *image, Dice &dice) {
         float primaries[18] = {};
         std::copy_n(image->primaries, 12, primaries + 6);
         primaries[6] += dice.pick({0.0F, 0.02F});
         const int flags = dice.roll(4) != 0 ? dice.pick({7, 16}) : dice.roll(64);
         const ZOR_RESPONSE_CURVE &curve = dice.pick(curves);
         ZOR__display(image, static_cast<unsigned char>(flags), dice.toss() ? primaries : nullptr,
                      &curve);
     },
     &ZOR__display_undo},
};

// Undoes a push. A display that gave up half way has left other operators, and nothing of its own.
// Returns whether what was below is on top again.
inline bool take_off(ZOR_IMAGE *image, const Operator &op, const void *below) {
    if (op.undo(image) == 1)
        return image->data[0] == below;
    if (op.undo != &ZOR__display_undo)
        return false;
    for (int i = 0; i < 4; ++i)
        for (const Operator &other : operators)
            if (image->data[0] != below)
                other.undo(image);
    return image->data[0] == below;
}

// All that a push may change, but for what scans move too, and for the measures that a curve
// without tables has.
inline std::string snapshot(ZOR_IMAGE image) {
    image.last_scanline = 0;
    for (int i = 0; i < image.num_images; ++i)
        if (ZOR_RESPONSE_CURVE &curve = image.images[i].curve; curve.kind == 1) {
            const size_t kept = offsetof(ZOR_RESPONSE_CURVE, reserved);
            std::memset(reinterpret_cast<char *>(&curve) + kept, 0, sizeof curve - kept);
        }
    return state_of(image);
}
