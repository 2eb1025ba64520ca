// Every change of precision goes through one of two words, so that the compiler's
// conversion warnings find each one that is not meant.
//
// These headers hold arithmetic, so they are compiled by the library alone, with flags
// that keep every rounding.
#pragma once

#include <marl/value/records.h>

#include <cfloat>

#ifdef __FAST_MATH__
#error "Results are part of the interface: build without -ffast-math."
#endif

static_assert(FLT_EVAL_METHOD == 0, "every step is rounded to the precision of its type");

namespace Marl {

// clang-format off
constexpr float single(double x) { return static_cast<float>(x); }
constexpr double widened(float x) { return static_cast<double>(x); }

constexpr Vector narrowed(const TracePoint& p) { return {single(p.x), single(p.y), single(p.z)}; }
constexpr TracePoint widened(const Vector& v)  { return {widened(v.x), widened(v.y), widened(v.z)}; }
// clang-format on

inline Transform narrowed(const TraceTransform& t)
{
    return {t.matrix, narrowed(t.offset)};
}

inline TraceTransform widened(const Transform& t)
{
    return {t.matrix, widened(t.offset)};
}

} // namespace Marl
