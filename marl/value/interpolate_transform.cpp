#include <marl/value/interpolate_transform.h>

#include <marl/value/detail/precision.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace Marl {

namespace {

// A matrix in double precision, as columns.
struct Columns {
    TracePoint column[3];
};

struct Quaternion {
    double w, x, y, z;
};

// A matrix as rotation * stretch. Of a mirroring matrix the stretch carries the mirror.
struct Split {
    Quaternion rotation;
    Columns stretch;
    bool isMirrored;
};

// clang-format off
TracePoint operator+(const TracePoint& a, const TracePoint& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
TracePoint operator*(const TracePoint& p, double s)            { return {p.x * s, p.y * s, p.z * s}; }
double dot(const TracePoint& a, const TracePoint& b)           { return a.x * b.x + a.y * b.y + a.z * b.z; }

Columns operator+(const Columns& a, const Columns& b)          { return {a.column[0] + b.column[0], a.column[1] + b.column[1], a.column[2] + b.column[2]}; }
Columns operator*(const Columns& m, double s)                  { return {m.column[0] * s, m.column[1] * s, m.column[2] * s}; }
// clang-format on

TracePoint cross(const TracePoint& a, const TracePoint& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

TracePoint operator*(const Columns& m, const TracePoint& p)
{
    return m.column[0] * p.x + m.column[1] * p.y + m.column[2] * p.z;
}

Columns operator*(const Columns& a, const Columns& b)
{
    return {a * b.column[0], a * b.column[1], a * b.column[2]};
}

Columns transposed(const Columns& m)
{
    const TracePoint &a = m.column[0], &b = m.column[1], &c = m.column[2];
    return {TracePoint{a.x, b.x, c.x}, TracePoint{a.y, b.y, c.y}, TracePoint{a.z, b.z, c.z}};
}

double determinant(const Columns& m)
{
    return dot(m.column[0], cross(m.column[1], m.column[2]));
}

double norm(const Columns& m)
{
    return std::sqrt(dot(m.column[0], m.column[0]) + dot(m.column[1], m.column[1]) + dot(m.column[2], m.column[2]));
}

double largestComponent(const Columns& m)
{
    double largest = 0;
    for (const TracePoint& c : m.column)
        largest = std::max({largest, std::abs(c.x), std::abs(c.y), std::abs(c.z)});
    return largest;
}

Columns inverseTransposed(const Columns& m, double det)
{
    const TracePoint &a = m.column[0], &b = m.column[1], &c = m.column[2];
    return Columns{cross(b, c), cross(c, a), cross(a, b)} * (1 / det);
}

// The orthogonal factor nearest to the matrix, by Newton's iteration with scaling
// (Nicholas Higham, "Computing the Polar Decomposition - with Applications", 1986).
Columns orthogonalFactor(Columns q)
{
    constexpr int enough = 40; // it takes about ten, also for badly scaled matrices
    for (int i = 0; i < enough; ++i) {
        const Columns inverse = inverseTransposed(q, determinant(q));
        const double balance = std::sqrt(norm(inverse) / norm(q));
        const Columns next = (q * balance + inverse * (1 / balance)) * 0.5;
        const double change = norm(next + q * -1);
        q = next;
        if (change < 1e-15)
            break;
    }
    return q;
}

// By its largest component (Stanley Shepperd, "Quaternion from Rotation Matrix", 1978).
Quaternion quaternionOf(const Columns& m)
{
    const TracePoint &a = m.column[0], &b = m.column[1], &c = m.column[2];
    const double w = 1 + a.x + b.y + c.z, x = 1 + a.x - b.y - c.z, y = 1 - a.x + b.y - c.z, z = 1 - a.x - b.y + c.z;
    const double largest = std::max({w, x, y, z});
    const double s = 0.5 / std::sqrt(largest);
    if (largest == w)
        return {largest * s, (b.z - c.y) * s, (c.x - a.z) * s, (a.y - b.x) * s};
    if (largest == x)
        return {(b.z - c.y) * s, largest * s, (a.y + b.x) * s, (c.x + a.z) * s};
    if (largest == y)
        return {(c.x - a.z) * s, (a.y + b.x) * s, largest * s, (b.z + c.y) * s};
    return {(a.y - b.x) * s, (c.x + a.z) * s, (b.z + c.y) * s, largest * s};
}

Columns rotationOf(const Quaternion& q)
{
    const double n = 2 / (q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
    const double xx = n * q.x * q.x, yy = n * q.y * q.y, zz = n * q.z * q.z;
    const double xy = n * q.x * q.y, yz = n * q.y * q.z, xz = n * q.x * q.z;
    const double wx = n * q.w * q.x, wy = n * q.w * q.y, wz = n * q.w * q.z;
    return {TracePoint{1 - yy - zz, xy + wz, xz - wy}, TracePoint{xy - wz, 1 - xx - zz, yz + wx},
            TracePoint{xz + wy, yz - wx, 1 - xx - yy}};
}

// On the great arc, the short way round (Ken Shoemake, "Animating Rotation with Quaternion
// Curves", SIGGRAPH 1985).
Quaternion slerp(const Quaternion& a, const Quaternion& b, double factor)
{
    const double cosine = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
    const double angle = std::acos(std::min(std::abs(cosine), 1.0));
    double fromA = 1 - factor, fromB = factor;
    if (angle > 1e-6) { // below that the arc is straight
        fromA = std::sin(fromA * angle) / std::sin(angle);
        fromB = std::sin(fromB * angle) / std::sin(angle);
    }
    fromB = std::copysign(fromB, cosine);
    return {a.w * fromA + b.w * fromB, a.x * fromA + b.x * fromB, a.y * fromA + b.y * fromB,
            a.z * fromA + b.z * fromB};
}

// Nothing for a matrix that is singular as far as single precision can say, or not finite.
std::optional<Split> split(const Columns& matrix)
{
    constexpr double leastVolume = 1e-12; // of the columns' box, as a share of what they could span

    const double size = largestComponent(matrix);
    if (!(size > 0) || std::isinf(size))
        return std::nullopt;
    const Columns m = matrix * (1 / size);
    const double det = determinant(m);
    const double span = std::sqrt(dot(m.column[0], m.column[0])) * std::sqrt(dot(m.column[1], m.column[1]))
        * std::sqrt(dot(m.column[2], m.column[2]));
    if (!(std::abs(det) > span * leastVolume))
        return std::nullopt;

    const double handedness = std::copysign(1.0, det);
    const Columns rotation = orthogonalFactor(m) * handedness;
    const Columns stretch = transposed(rotation) * matrix;
    return Split{quaternionOf(rotation), (stretch + transposed(stretch)) * 0.5, det < 0};
}

Columns widened(const Matrix& m)
{
    return {widened(m.columns[0]), widened(m.columns[1]), widened(m.columns[2])};
}

} // namespace

Transform interpolateTransform(const Transform& a, const Transform& b, double factor)
{
    if (factor == 0)
        return a;
    if (factor == 1)
        return b;

    const Columns from = widened(a.matrix), to = widened(b.matrix);
    Columns matrix = from * (1 - factor) + to * factor;
    const auto earlier = split(from), later = split(to);
    if (earlier && later && earlier->isMirrored == later->isMirrored)
        matrix = rotationOf(slerp(earlier->rotation, later->rotation, factor))
            * (earlier->stretch * (1 - factor) + later->stretch * factor);

    const TracePoint offset = widened(a.offset) * (1 - factor) + widened(b.offset) * factor;
    return {{narrowed(matrix.column[0]), narrowed(matrix.column[1]), narrowed(matrix.column[2])}, narrowed(offset)};
}

} // namespace Marl
