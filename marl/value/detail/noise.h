// Three-dimensional gradient noise on an integer lattice.
#pragma once

#include <marl/value/records.h>

namespace Marl {

// Safe from several threads at any time.
float noise(const Vector& point);

} // namespace Marl
