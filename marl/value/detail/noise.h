// Three-dimensional gradient noise with quintic fade (Ken Perlin, "Improving Noise", SIGGRAPH 2002).
//
// The same point gives the same bits, alone or among others, in every process. Safe from several threads
// at any time.
#pragma once

#include <marl/value/records.h>

namespace Marl {

float noise(const Vector& point);

// At many points; where the processor allows it, several at once.
void noise(const float* x, const float* y, const float* z, float* results, int count);

} // namespace Marl
