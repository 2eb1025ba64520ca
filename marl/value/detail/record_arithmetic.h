// Arithmetic of the plain records, component by component in single precision. Sums of
// three products are added from left to right.
#pragma once

#include <marl/value/detail/precision.h>

namespace Marl {

// clang-format off
inline Vector operator+(const Vector& a, const Vector& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vector operator-(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vector operator-(const Vector& v)                  { return {-v.x, -v.y, -v.z}; }
inline Vector operator*(const Vector& v, float s)         { return {v.x * s, v.y * s, v.z * s}; }

inline Color operator+(const Color& a, const Color& b)    { return {a.r + b.r, a.g + b.g, a.b + b.b}; }
inline Color operator*(const Color& a, const Color& b)    { return {a.r * b.r, a.g * b.g, a.b * b.b}; }
inline Color operator-(const Color& c)                    { return {-c.r, -c.g, -c.b}; }
inline Color operator*(const Color& c, float s)           { return {c.r * s, c.g * s, c.b * s}; }

inline AColor operator+(const AColor& a, const AColor& b) { return {a.r + b.r, a.g + b.g, a.b + b.b, a.alpha + b.alpha}; }
inline AColor operator*(const AColor& a, const AColor& b) { return {a.r * b.r, a.g * b.g, a.b * b.b, a.alpha * b.alpha}; }
inline AColor operator*(const AColor& c, float s)         { return {c.r * s, c.g * s, c.b * s, c.alpha * s}; }

inline Matrix operator+(const Matrix& a, const Matrix& b) { return {a.columns[0] + b.columns[0], a.columns[1] + b.columns[1], a.columns[2] + b.columns[2]}; }
inline Matrix operator-(const Matrix& a, const Matrix& b) { return {a.columns[0] - b.columns[0], a.columns[1] - b.columns[1], a.columns[2] - b.columns[2]}; }
inline Matrix operator-(const Matrix& m)                  { return {-m.columns[0], -m.columns[1], -m.columns[2]}; }
inline Matrix operator*(const Matrix& m, float s)         { return {m.columns[0] * s, m.columns[1] * s, m.columns[2] * s}; }

inline TracePoint operator+(const TracePoint& a, const TracePoint& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline TracePoint operator-(const TracePoint& p)                      { return {-p.x, -p.y, -p.z}; }
inline TracePoint operator*(const TracePoint& p, double s)            { return {p.x * s, p.y * s, p.z * s}; }
// clang-format on

// M applied to v in single precision.
inline Vector operator*(const Matrix& m, const Vector& v)
{
    return m.columns[0] * v.x + m.columns[1] * v.y + m.columns[2] * v.z;
}

// Column k of the product is a applied to column k of b.
inline Matrix operator*(const Matrix& a, const Matrix& b)
{
    return {a * b.columns[0], a * b.columns[1], a * b.columns[2]};
}

// M applied to p in double precision.
inline TracePoint operator*(const Matrix& m, const TracePoint& p)
{
    return widened(m.columns[0]) * p.x + widened(m.columns[1]) * p.y + widened(m.columns[2]) * p.z;
}

// In double precision, and not rounded.
inline double dot(const Vector& a, const Vector& b)
{
    return widened(a.x) * widened(b.x) + widened(a.y) * widened(b.y) + widened(a.z) * widened(b.z);
}

// The transpose of M applied to v: v's dot products with the columns, rounded to single.
inline Vector operator*(const Vector& v, const Matrix& m)
{
    return {single(dot(v, m.columns[0])), single(dot(v, m.columns[1])), single(dot(v, m.columns[2]))};
}

// Computed in double, rounded to single.
inline Vector cross(const Vector& a, const Vector& b)
{
    const TracePoint p = widened(a), q = widened(b);
    return narrowed(TracePoint{p.y * q.z - p.z * q.y, p.z * q.x - p.x * q.z, p.x * q.y - p.y * q.x});
}

inline Transform operator+(const Transform& a, const Transform& b)
{
    return {a.matrix + b.matrix, a.offset + b.offset};
}

inline Transform operator-(const Transform& a, const Transform& b)
{
    return {a.matrix - b.matrix, a.offset - b.offset};
}

inline TraceTransform operator-(const TraceTransform& t)
{
    return {-t.matrix, -t.offset};
}

inline TraceTransform operator*(const TraceTransform& t, float s)
{
    return {t.matrix * s, t.offset * widened(s)};
}

// t applied to p, in double precision.
inline TracePoint operator*(const TraceTransform& t, const TracePoint& p)
{
    return t.matrix * p + t.offset;
}

// a after b: the matrices in single precision, the offset in double.
inline TraceTransform operator*(const TraceTransform& a, const TraceTransform& b)
{
    return {a.matrix * b.matrix, a * b.offset};
}

// The transpose of t's matrix applied to p moved by t's offset.
inline Vector operator*(const TracePoint& p, const TraceTransform& t)
{
    return narrowed(p + t.offset) * t.matrix;
}

} // namespace Marl
