// The plain records that values carry: zero at first, copied by value, compared component by component.
#pragma once

#include <marl/api.h>
#include <marl/value/char_string.h>

#include <cstdint>

namespace Marl {

// A scene object of the host, handled only by pointer.
class Object;

// A vector in single precision.
struct MARL_API Vector {
    float x = 0, y = 0, z = 0;
    bool operator==(const Vector&) const = default;
};

// A vector or point in double precision.
struct MARL_API TracePoint {
    double x = 0, y = 0, z = 0;
    bool operator==(const TracePoint&) const = default;
};

struct MARL_API Color {
    float r = 0, g = 0, b = 0;
    bool operator==(const Color&) const = default;
};

struct MARL_API AColor {
    float r = 0, g = 0, b = 0, alpha = 0;
    bool operator==(const AColor&) const = default;
};

// A 3x3 matrix as its three columns; M applied to p is p.x * columns[0] + p.y * columns[1] + p.z * columns[2].
struct MARL_API Matrix {
    Matrix() = default;
    constexpr Matrix(const Vector& first, const Vector& second, const Vector& third) : columns{first, second, third}
    {}

    // k on the diagonal and 0 elsewhere.
    explicit Matrix(int k);

    bool operator==(const Matrix&) const = default;

    Vector columns[3];
};

// Maps a point p to matrix * p + offset.
struct MARL_API Transform {
    Matrix matrix;
    Vector offset;
    bool operator==(const Transform&) const = default;
};

// A transform whose offset is held in double precision.
struct MARL_API TraceTransform {
    Matrix matrix;
    TracePoint offset;
    bool operator==(const TraceTransform&) const = default;
};

// A property of an object of the running scene, looked up by the host when it needs it.
struct MARL_API RuntimeValue {
    Object* object = nullptr;
    CharString name;
    bool operator==(const RuntimeValue&) const = default;
};

// An identifier that the host gives its objects.
struct MARL_API ObjectID {
    std::uint64_t value = 0;
    bool operator==(const ObjectID&) const = default;
};

// The three below are for hosts; the library itself needs none of them. A host's static initialisers may
// read them.
MARL_API extern const Matrix ID_mat;   // Matrix(1)
MARL_API extern const Matrix ZERO_mat; // Matrix(0)

// Lane j of entry i is all ones where bit j of i is set, else zero: masks for four-lane selections.
MARL_API extern const std::uint32_t _mm_lookupmask_ps[16][4];

} // namespace Marl
