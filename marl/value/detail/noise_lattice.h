// What the noise reads in its tables, and the steps of noise_cell.h on one point.
#pragma once

#include <marl/value/detail/precision.h>
#include <marl/value/detail/truncation.h>

namespace Marl {

// Both tables go round in a circle: the first of their 256 entries stands behind the last once more, so
// that what belongs to an index and to the next one is read together.
struct NoiseTables {
    struct Gradient {
        float x, y, z, unused;
    };
    const unsigned* permutation;
    const Gradient* gradients;
    float scale;
};

// What belongs to the lower and to the higher lattice plane of a cell.
template <typename T>
struct LowAndHigh {
    T low, high;
};

inline float rounded(int cell)
{
    return static_cast<float>(cell);
}

// The low eight bits of a lattice plane's number count; the others are left as they come.
inline unsigned planes(int cell)
{
    return static_cast<unsigned>(cell);
}

// How far truncation leads away from the lower plane. Looked up, for a branch on the sign of scattered
// points cannot be foreseen.
inline double upward(double x)
{
    static constexpr double step[] = {0.999999999, 0.0};
    return step[x >= 0.0 ? 1 : 0];
}

inline LowAndHigh<unsigned> hashes(const NoiseTables& tables, unsigned planes)
{
    const unsigned* hash = &tables.permutation[planes % 256];
    return {hash[0], hash[1]};
}

// The pulls of the corners at low and at high x, each with its gradient.
inline LowAndHigh<double> pulls(const NoiseTables& tables, unsigned hash, const LowAndHigh<float>& fromX, float fromY,
                                float fromZ)
{
    const NoiseTables::Gradient *low = &tables.gradients[hash % 256], *high = low + 1;
    return {widened(low->x * fromX.low + low->y * fromY + low->z * fromZ),
            widened(high->x * fromX.high + high->y * fromY + high->z * fromZ)};
}

using NoiseAtMany = void(const NoiseTables& tables, const float* x, const float* y, const float* z, float* results,
                         int count);
NoiseAtMany noiseByAvx2; // for a processor that has it

} // namespace Marl
