// Where typed values lie while a block of times is computed: component by component, each component an
// array with one entry a time.
#pragma once

#include <marl/value/detail/precision.h>
#include <marl/value/records.h>

#include <cstddef>
#include <cstdint>
#include <variant>

namespace Marl {

// How many times are computed before the next part of a program is entered. Longer blocks enter less
// often, shorter ones stay in the nearest cache.
inline constexpr std::size_t blockLength = 128;

// The kinds whose values are plain records, in the order of the records below.
enum class Typed : unsigned char { Number, Vector, Matrix, Color, AColor, Transform };
inline constexpr int typedKinds = 6;

using Plain = std::variant<double, TracePoint, Matrix, Color, AColor, TraceTransform>;

// A typed value in registers. Vectors lie in single precision where that is all they have: results of
// arithmetic do, literals and what a transform moved do not.
enum class Form : unsigned char { Number, Vector, WideVector, Matrix, Color, AColor, Transform };
inline constexpr int forms = 7;

// A form's columns in the registers: first those of floats, then those of doubles.
// clang-format off
template <Form form> struct Layout;
template <> struct Layout<Form::Number>     { using Record = double;         static constexpr int floats = 0, doubles = 1; };
template <> struct Layout<Form::Vector>     { using Record = TracePoint;     static constexpr int floats = 3, doubles = 0; };
template <> struct Layout<Form::WideVector> { using Record = TracePoint;     static constexpr int floats = 0, doubles = 3; };
template <> struct Layout<Form::Matrix>     { using Record = Matrix;         static constexpr int floats = 9, doubles = 0; };
template <> struct Layout<Form::Color>      { using Record = Color;          static constexpr int floats = 3, doubles = 0; };
template <> struct Layout<Form::AColor>     { using Record = AColor;         static constexpr int floats = 4, doubles = 0; };
template <> struct Layout<Form::Transform>  { using Record = TraceTransform; static constexpr int floats = 9, doubles = 3; };
// clang-format on

template <Form form>
using RecordOf = typename Layout<form>::Record;

inline constexpr std::uint32_t floatsSize = blockLength * sizeof(float);
inline constexpr std::uint32_t doublesSize = blockLength * sizeof(double);

// The bytes of one value's arrays.
template <Form form>
inline constexpr std::uint32_t sizeOf = Layout<form>::floats* floatsSize + Layout<form>::doubles* doublesSize;

constexpr std::uint32_t sizeOfForm(Form form)
{
    constexpr std::uint32_t sizes[] = {sizeOf<Form::Number>,   sizeOf<Form::Vector>, sizeOf<Form::WideVector>,
                                       sizeOf<Form::Matrix>,   sizeOf<Form::Color>,  sizeOf<Form::AColor>,
                                       sizeOf<Form::Transform>};
    return sizes[static_cast<int>(form)];
}

// The arrays of one value.
template <Form form>
class Arrays {
public:
    explicit Arrays(std::byte* begin) : first(begin) {}

    RecordOf<form> at(std::size_t i) const
    {
        if constexpr (form == Form::Number)
            return wide(0, i);
        else if constexpr (form == Form::Vector)
            return {widened(narrow(0, i)), widened(narrow(1, i)), widened(narrow(2, i))};
        else if constexpr (form == Form::WideVector)
            return {wide(0, i), wide(1, i), wide(2, i)};
        else if constexpr (form == Form::Matrix)
            return matrix(i);
        else if constexpr (form == Form::Color)
            return {narrow(0, i), narrow(1, i), narrow(2, i)};
        else if constexpr (form == Form::AColor)
            return {narrow(0, i), narrow(1, i), narrow(2, i), narrow(3, i)};
        else
            return {matrix(i), {wide(0, i), wide(1, i), wide(2, i)}};
    }

    void put(std::size_t i, const RecordOf<form>& record)
    {
        if constexpr (form == Form::Number) {
            wide(0, i) = record;
        } else if constexpr (form == Form::Vector) {
            narrow(0, i) = single(record.x);
            narrow(1, i) = single(record.y);
            narrow(2, i) = single(record.z);
        } else if constexpr (form == Form::WideVector) {
            putWide(i, record);
        } else if constexpr (form == Form::Matrix) {
            putMatrix(i, record);
        } else if constexpr (form == Form::Color) {
            narrow(0, i) = record.r;
            narrow(1, i) = record.g;
            narrow(2, i) = record.b;
        } else if constexpr (form == Form::AColor) {
            narrow(0, i) = record.r;
            narrow(1, i) = record.g;
            narrow(2, i) = record.b;
            narrow(3, i) = record.alpha;
        } else {
            putMatrix(i, record.matrix);
            putWide(i, record.offset);
        }
    }

private:
    float& narrow(int component, std::size_t i) const
    {
        return reinterpret_cast<float*>(first)[static_cast<std::size_t>(component) * blockLength + i];
    }
    double& wide(int component, std::size_t i) const
    {
        return reinterpret_cast<double*>(
            first + Layout<form>::floats * floatsSize)[static_cast<std::size_t>(component) * blockLength + i];
    }
    Matrix matrix(std::size_t i) const
    {
        return {Vector{narrow(0, i), narrow(1, i), narrow(2, i)}, Vector{narrow(3, i), narrow(4, i), narrow(5, i)},
                Vector{narrow(6, i), narrow(7, i), narrow(8, i)}};
    }
    void putMatrix(std::size_t i, const Matrix& m)
    {
        for (int k = 0; k < 3; ++k) {
            narrow(3 * k, i) = m.columns[k].x;
            narrow(3 * k + 1, i) = m.columns[k].y;
            narrow(3 * k + 2, i) = m.columns[k].z;
        }
    }
    void putWide(std::size_t i, const TracePoint& p)
    {
        wide(0, i) = p.x;
        wide(1, i) = p.y;
        wide(2, i) = p.z;
    }

    std::byte* first;
};

} // namespace Marl
