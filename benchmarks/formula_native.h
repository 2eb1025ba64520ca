// The vectors and transforms of compiled C++; its numbers are plain doubles.
#pragma once

#include <benchmarks/plain_noise.h>

#include <cmath>

namespace Bench {

using std::cos;
using std::sin;
using std::sqrt;

struct Vec {
    double x, y, z;
};

struct Mat {
    Vec first, second, third; // columns
};

struct Xform {
    Mat matrix;
    Vec offset;
};

// clang-format off
inline Vec operator*(const Vec& a, double k)         { return {a.x * k, a.y * k, a.z * k}; }
inline Vec operator*(double k, const Vec& a)         { return a * k; }
inline Vec operator+(const Vec& a, const Vec& b)     { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline double dot(const Vec& a, const Vec& b)        { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec operator*(const Mat& m, const Vec& a)     { return m.first * a.x + m.second * a.y + m.third * a.z; }
inline Mat operator*(const Mat& a, const Mat& b)     { return {a * b.first, a * b.second, a * b.third}; }
inline Vec operator*(const Xform& m, const Vec& a)   { return m.matrix * a + m.offset; }
inline Xform operator*(const Xform& a, const Xform& b) { return {a.matrix * b.matrix, a * b.offset}; }

inline Vec vec(double x, double y, double z)                        { return {x, y, z}; }
inline Mat mat(const Vec& first, const Vec& second, const Vec& third) { return {first, second, third}; }
inline Xform xform(const Mat& matrix, const Vec& offset)            { return {matrix, offset}; }
// clang-format on

inline const PlainNoise plainNoise;
inline double noise(const Vec& at)
{
    return plainNoise(static_cast<float>(at.x), static_cast<float>(at.y), static_cast<float>(at.z));
}

// A value that is used several times, by a call for each time.
template <class Value>
class Kept {
public:
    explicit Kept(const Value& given) : value(given) {}
    const Value& operator()() const { return value; }

private:
    Value value;
};
inline Kept<double> kept(double value)
{
    return Kept(value);
}
inline Kept<Xform> kept(const Xform& value)
{
    return Kept(value);
}

} // namespace Bench
