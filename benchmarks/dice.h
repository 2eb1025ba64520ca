// Draws the same numbers for every contender.
#pragma once

#include <cstdint>

namespace Bench {

class Dice {
public:
    explicit Dice(std::uint64_t seed = 1) : state(seed) {}
    double fraction() { return static_cast<double>(next() >> 11) * 0x1p-53; }
    unsigned roll(unsigned sides) { return static_cast<unsigned>(next() >> 33) % sides; }

private:
    std::uint64_t next() { return state = state * 6364136223846793005u + 1442695040888963407u; }
    std::uint64_t state;
};

} // namespace Bench
