// What the built-in functions compute from their arguments, on plain records.
#pragma once

#include <marl/value/detail/record_arithmetic.h>

#include <cmath>

namespace Marl {

inline constexpr double pi = widened(3.14159274f); // in single precision, on purpose

// clang-format off
inline double square(double x)                              { return x * x; }
inline double squareRoot(double x)                          { return std::sqrt(x); }
inline double sine(double x)                                { return std::sin(x); }
inline double cosine(double x)                              { return std::cos(x); }
inline double power(double base, double exponent)           { return std::pow(base, exponent); }
// Between two numbers, by a share drawn once.
inline double uniform(double a, double b, double share)     { return (1.0 - share) * a + b * share; }
inline TracePoint crossProduct(const TracePoint& a, const TracePoint& b) { return widened(cross(narrowed(a), narrowed(b))); }
// clang-format on

// Every step in single precision.
inline double length(const TracePoint& point)
{
    const Vector v = narrowed(point);
    return widened(std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z));
}

} // namespace Marl
