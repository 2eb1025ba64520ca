// The way from one transform to another.
#pragma once

#include <marl/api.h>
#include <marl/value/records.h>

namespace Marl {

// The transform at `factor` on the way from a (at 0) to b (at 1), which come back exactly.
//
// Offsets are blended. Each matrix is split by polar decomposition into a rotation and a
// stretch; the rotation takes the short way on the great arc, the stretch is blended
// (Ken Shoemake and Tom Duff, "Matrix Animation and Polar Decomposition", Graphics
// Interface 1992). A mirrored pair stays mirrored. Where there is no split, because a
// matrix is singular or not finite or only one of them mirrors, the components are blended.
// Finite transforms and a factor in [0, 1] never give a NaN. Computed in double precision
// and rounded to single at the end.
MARL_API Transform interpolateTransform(const Transform& a, const Transform& b, double factor);

} // namespace Marl
