// Conversion of a number to the lattice cell or the index that it lies in.
#pragma once

#include <climits>
#include <cmath>

namespace Marl {

// Toward zero. NaN and what 32 bits cannot hold give the smallest int, on every machine.
inline int truncated(double x)
{
    return std::abs(x) < INT_MAX + 1.0 ? static_cast<int>(x) : INT_MIN;
}

} // namespace Marl
