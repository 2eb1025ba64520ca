// The blend of two keys' values, on plain records of one kind.
#pragma once

#include <marl/value/detail/operators.h>
#include <marl/value/interpolate_transform.h>

namespace Marl {

// How much of the way from start to end lies behind.
inline double share(double start, double time, double end)
{
    return (time - start) / (end - start);
}

// Each value is weighted and the later one stands first in the sum.
template <typename Record>
Record blend(const Record& earlier, const Record& later, double factor)
{
    return sum(product(factor, later), product(1.0 - factor, earlier));
}

// What cannot be weighted holds.
inline AColor blend(const AColor& earlier, const AColor&, double)
{
    return earlier;
}

inline TraceTransform blend(const TraceTransform& earlier, const TraceTransform& later, double factor)
{
    return widened(interpolateTransform(narrowed(earlier), narrowed(later), factor));
}

} // namespace Marl
