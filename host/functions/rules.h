// What the host's functions compute, where it takes more than a line.
//
// Everything in double precision; what becomes part of a matrix is rounded once, at the end. Where a number is
// nan the result is nan, and of the two zeros -0 is the lesser.
#pragma once

#include <marl/value/records.h>

namespace Marl::Host {

double lesser(double a, double b);
double greater(double a, double b);
double sign(double x);
double step(double edge, double x);
double smoothStep(double low, double high, double x);

double dot(const TracePoint& a, const TracePoint& b);

// No component is too large or too small for it; of the zero vector the zero vector.
TracePoint normalized(const TracePoint& v);

// By Rodrigues' formula, right-handed, the angle in radians; about the zero vector it is the identity.
Matrix rotation(const TracePoint& axis, double angle);

Matrix diagonal(const TracePoint& v);

// Throws InvalidOpException where the determinant is zero, or lost in the rounding of its terms.
Matrix inverse(const Matrix& m);
// The offset is computed with the inverse as rounded, so that the point at the offset comes back to zero.
TraceTransform inverse(const TraceTransform& transform);

} // namespace Marl::Host
