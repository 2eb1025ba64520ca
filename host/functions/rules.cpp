#include <host/functions/rules.h>

#include <marl/value/exceptions.h>

#include <algorithm>
#include <cmath>

namespace Marl::Host {

namespace {

float single(double x)
{
    return static_cast<float>(x);
}

Vector single(const TracePoint& v)
{
    return {single(v.x), single(v.y), single(v.z)};
}

TracePoint widened(const Vector& v)
{
    return {v.x, v.y, v.z};
}

// The product of two components in single precision is exact in double.
TracePoint cross(const TracePoint& a, const TracePoint& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

TracePoint divided(const TracePoint& v, double divisor)
{
    return {v.x / divisor, v.y / divisor, v.z / divisor};
}

TracePoint absolute(const TracePoint& v)
{
    return {std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)};
}

// Of the terms of a determinant, without their signs.
double sizeOfTerms(const TracePoint& a, const TracePoint& b, const TracePoint& c)
{
    const TracePoint p = absolute(a), q = absolute(b), r = absolute(c);
    return p.x * (q.y * r.z + q.z * r.y) + p.y * (q.z * r.x + q.x * r.z) + p.z * (q.x * r.y + q.y * r.x);
}

} // namespace

double lesser(double a, double b)
{
    if (a == b)
        return std::signbit(a) ? a : b;
    return a < b || std::isnan(a) ? a : b;
}

double greater(double a, double b)
{
    if (a == b)
        return std::signbit(a) ? b : a;
    return a > b || std::isnan(a) ? a : b;
}

double sign(double x)
{
    return x > 0 ? 1 : x < 0 ? -1 : x == 0 ? 0 : x;
}

double step(double edge, double x)
{
    return x < edge ? 0 : x >= edge ? 1 : x + edge; // nan
}

double smoothStep(double low, double high, double x)
{
    if (low == high)
        return step(low, x);
    const double t = lesser(greater((x - low) / (high - low), 0), 1);
    return t * t * (3 - 2 * t);
}

double dot(const TracePoint& a, const TracePoint& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Powers of two change no digit, so only what would leave the range of doubles is any different for them.
TracePoint normalized(const TracePoint& v)
{
    const TracePoint size = absolute(v);
    const double largest = std::max({size.x, size.y, size.z});
    if (largest == 0)
        return v;
    if (!std::isfinite(largest))
        return divided(v, largest);
    const int exponent = -std::ilogb(largest);
    const TracePoint near{std::scalbn(v.x, exponent), std::scalbn(v.y, exponent), std::scalbn(v.z, exponent)};
    return divided(near, std::sqrt(dot(near, near)));
}

Matrix rotation(const TracePoint& axis, double angle)
{
    const TracePoint k = normalized(axis);
    if (k == TracePoint())
        return Matrix(1);
    const double c = std::cos(angle), s = std::sin(angle), t = 1 - c;
    return {single(TracePoint{t * k.x * k.x + c, t * k.x * k.y + s * k.z, t * k.x * k.z - s * k.y}),
            single(TracePoint{t * k.x * k.y - s * k.z, t * k.y * k.y + c, t * k.y * k.z + s * k.x}),
            single(TracePoint{t * k.x * k.z + s * k.y, t * k.y * k.z - s * k.x, t * k.z * k.z + c})};
}

Matrix diagonal(const TracePoint& v)
{
    return {{single(v.x), 0, 0}, {0, single(v.y), 0}, {0, 0, single(v.z)}};
}

Matrix inverse(const Matrix& m)
{
    const TracePoint a = widened(m.columns[0]), b = widened(m.columns[1]), c = widened(m.columns[2]);
    const TracePoint rows[] = {cross(b, c), cross(c, a), cross(a, b)}; // cofactors
    const double determinant = dot(a, rows[0]);
    constexpr double rounding = 0x1p-50; // can make no more of the terms
    if (!(std::fabs(determinant) > rounding * sizeOfTerms(a, b, c)))
        throw InvalidOpException("Matrix has no inverse.");
    const TracePoint x = divided(rows[0], determinant), y = divided(rows[1], determinant),
                     z = divided(rows[2], determinant);
    return {single(TracePoint{x.x, y.x, z.x}), single(TracePoint{x.y, y.y, z.y}), single(TracePoint{x.z, y.z, z.z})};
}

TraceTransform inverse(const TraceTransform& transform)
{
    const Matrix m = inverse(transform.matrix);
    const TracePoint x = widened(m.columns[0]), y = widened(m.columns[1]), z = widened(m.columns[2]);
    const TracePoint o = transform.offset;
    // Taken from 0, so that an offset of 0 stays one.
    return {m,
            {0 - (o.x * x.x + o.y * y.x + o.z * z.x), 0 - (o.x * x.y + o.y * y.y + o.z * z.y),
             0 - (o.x * x.z + o.y * y.z + o.z * z.z)}};
}

} // namespace Marl::Host
