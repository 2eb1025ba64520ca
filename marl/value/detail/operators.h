// What the operators come to on plain records: one line a pair of kinds.
//
// The kind of a value is the type of its record, so a row that stands twice does not compile. Whether
// two kinds can be combined at all is asked of these overloads (see Rule below); nobody keeps a second list.
#pragma once

#include <marl/value/detail/record_arithmetic.h>

namespace Marl {

// Vectors travel in double precision and are rounded to single before anything is done with them; a
// transform acts on them in full precision.
// clang-format off
inline double         sum(double l, double r)                                           { return l + r; }
inline TracePoint     sum(const TracePoint& l, const TracePoint& r)                     { return widened(narrowed(l) + narrowed(r)); }
inline Matrix         sum(const Matrix& l, const Matrix& r)                             { return l + r; }
inline Color          sum(const Color& l, const Color& r)                               { return l + r; }
inline AColor         sum(const AColor& l, const AColor& r)                             { return l + r; }
inline TraceTransform sum(const TraceTransform& l, const TraceTransform& r)             { return widened(narrowed(l) + narrowed(r)); }

inline double         difference(double l, double r)                                    { return l - r; }
inline TracePoint     difference(const TracePoint& l, const TracePoint& r)              { return widened(narrowed(l) - narrowed(r)); }
inline Matrix         difference(const Matrix& l, const Matrix& r)                      { return l - r; }
inline TraceTransform difference(const TraceTransform& l, const TraceTransform& r)      { return widened(narrowed(l) - narrowed(r)); }

inline double         product(double l, double r)                                       { return l * r; }
inline TracePoint     product(double l, const TracePoint& r)                            { return widened(narrowed(r) * single(l)); }
inline TracePoint     product(const TracePoint& l, double r)                            { return widened(narrowed(l) * single(r)); }
inline double         product(const TracePoint& l, const TracePoint& r)                 { return dot(narrowed(l), narrowed(r)); }
inline Matrix         product(const Matrix& l, const Matrix& r)                         { return l * r; }
inline TracePoint     product(const TracePoint& l, const Matrix& r)                     { return widened(narrowed(l) * r); }
inline Matrix         product(const Matrix& l, double r)                                { return l * single(r); }
inline Matrix         product(double l, const Matrix& r)                                { return r * single(l); }
inline Color          product(const Color& l, double r)                                 { return l * single(r); }
inline Color          product(double l, const Color& r)                                 { return r * single(l); }
inline Color          product(const Color& l, const Color& r)                           { return l * r; }
inline AColor         product(const AColor& l, const AColor& r)                         { return l * r; }
inline TraceTransform product(const TraceTransform& l, double r)                        { return l * single(r); }
inline TraceTransform product(double l, const TraceTransform& r)                        { return r * single(l); }
inline TraceTransform product(const TraceTransform& l, const TraceTransform& r)         { return l * r; }
inline TracePoint     product(const TraceTransform& l, const TracePoint& r)             { return l * r; }
inline TracePoint     product(const TracePoint& l, const TraceTransform& r)             { return widened(l * r); }

// A vector's reciprocal is taken in double and then rounded; the others round the divisor first. The
// factors differ in their last bits.
inline double         quotient(double l, double r)                                      { return l / r; }
inline TracePoint     quotient(const TracePoint& l, double r)                           { return widened(narrowed(l) * single(1.0 / r)); }
inline Matrix         quotient(const Matrix& l, double r)                               { return l * (1.0f / single(r)); }
inline Color          quotient(const Color& l, double r)                                { return l * (1.0f / single(r)); }
inline AColor         quotient(const AColor& l, double r)                               { return l * (1.0f / single(r)); }

// A vector is rounded to single on the way, a transform's offset is not. A color with alpha has no sign.
inline double         negative(double x)                                                { return -x; }
inline TracePoint     negative(const TracePoint& v)                                     { return widened(-narrowed(v)); }
inline Matrix         negative(const Matrix& m)                                         { return -m; }
inline Color          negative(const Color& c)                                          { return -c; }
inline AColor         negative(const AColor& c)                                         { return c; }
inline TraceTransform negative(const TraceTransform& t)                                 { return -t; }
// clang-format on

// The operators as values, of which tables and kernels are made; one is invocable with two kinds when their
// pair has a row above.
namespace Rule {

// clang-format off
inline constexpr auto sum        = [](const auto& l, const auto& r) requires requires { Marl::sum(l, r); }        { return Marl::sum(l, r); };
inline constexpr auto difference = [](const auto& l, const auto& r) requires requires { Marl::difference(l, r); } { return Marl::difference(l, r); };
inline constexpr auto product    = [](const auto& l, const auto& r) requires requires { Marl::product(l, r); }    { return Marl::product(l, r); };
inline constexpr auto quotient   = [](const auto& l, const auto& r) requires requires { Marl::quotient(l, r); }   { return Marl::quotient(l, r); };
inline constexpr auto negative   = [](const auto& x) requires requires { Marl::negative(x); }                     { return Marl::negative(x); };
// clang-format on

} // namespace Rule

} // namespace Marl
