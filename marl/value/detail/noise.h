// Three-dimensional gradient noise on an integer lattice.
#pragma once

#include <marl/value/records.h>

namespace Marl {

// Safe from several threads at any time.
float noise(const Vector& point);

// At many points, given by their coordinates.
void noise(const float* x, const float* y, const float* z, float* results, int count);

} // namespace Marl
