// The expressions of a scene: endless ones, drawn, of 12 operations on average.
#pragma once

#include <benchmarks/dice.h>

#include <cmath>
#include <cstddef>

namespace Bench {

using std::sin;

constexpr std::size_t sceneSize = 2000;

// The left end is always the time, so that none is constant.
template <class N>
N grown(const N& t, Dice& dice, unsigned depth, bool isLeftEnd)
{
    if (depth == 0 || (depth < 3 && dice.roll(4) == 0))
        return isLeftEnd || dice.roll(2) == 0 ? t : N((1 + dice.roll(99)) / 100.0);
    const N left = grown(t, dice, depth - 1, isLeftEnd);
    const unsigned operation = dice.roll(5);
    if (operation == 4)
        return sin(left);
    const N right = operation == 3 ? N(1 + dice.roll(9)) : grown(t, dice, depth - 1, false);
    switch (operation) {
    case 0: return left + right;
    case 1: return left - right;
    case 2: return left * right;
    default: return left / right;
    }
}

template <class N>
N grownFrom(std::size_t seed, const N& t)
{
    Dice dice(seed);
    return grown(t, dice, 5, true);
}

} // namespace Bench
