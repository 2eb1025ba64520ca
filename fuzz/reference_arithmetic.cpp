#include <fuzz/reference_arithmetic.h>

#include <array>

namespace Marl::Fuzz {

namespace {

using Nine = std::array<float, 9>; // column by column
using Three = std::array<double, 3>;

Nine nine(const Matrix& m)
{
    const auto& [a, b, c] = m.columns;
    return {a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z};
}

Matrix matrix(const Nine& n)
{
    return {{n[0], n[1], n[2]}, {n[3], n[4], n[5]}, {n[6], n[7], n[8]}};
}

float single(double number)
{
    return static_cast<float>(number);
}

Three three(const TracePoint& p)
{
    return {p.x, p.y, p.z};
}

Three three(const Vector& v)
{
    return three(doubleOf(v));
}

TracePoint point(const Three& t)
{
    return {t[0], t[1], t[2]};
}

template <typename Calculate>
Matrix eachOf(const Matrix& left, const Matrix& right, Calculate calculate)
{
    const Nine a = nine(left), b = nine(right);
    Nine result;
    for (std::size_t i = 0; i < 9; ++i)
        result[i] = calculate(a[i], b[i]);
    return matrix(result);
}

template <typename Calculate>
TracePoint eachOf(const Vector& a, const Vector& b, Calculate calculate)
{
    return doubleOf({calculate(a.x, b.x), calculate(a.y, b.y), calculate(a.z, b.z)});
}

// Sums and differences of transforms are taken in single precision, offsets too.
template <typename Calculate>
TraceTransform eachOf(const TraceTransform& a, const TraceTransform& b, Calculate calculate)
{
    return {eachOf(a.matrix, b.matrix, calculate), eachOf(singleOf(a.offset), singleOf(b.offset), calculate)};
}

TracePoint scaled(const Vector& v, float s)
{
    return doubleOf({v.x * s, v.y * s, v.z * s});
}

Matrix scaled(const Matrix& m, float s)
{
    Nine result = nine(m);
    for (float& entry : result)
        entry = entry * s;
    return matrix(result);
}

Color scaled(const Color& c, float s)
{
    return {c.r * s, c.g * s, c.b * s};
}

AColor scaled(const AColor& c, float s)
{
    return {c.r * s, c.g * s, c.b * s, c.alpha * s};
}

TraceTransform scaled(const TraceTransform& t, float s)
{
    const double wide = double(s);
    return {scaled(t.matrix, s), {t.offset.x * wide, t.offset.y * wide, t.offset.z * wide}};
}

Matrix product(const Matrix& left, const Matrix& right)
{
    const Nine a = nine(left), b = nine(right);
    Nine c;
    for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t i = 0; i < 3; ++i)
            c[3 * k + i] = a[i] * b[3 * k] + a[3 + i] * b[3 * k + 1] + a[6 + i] * b[3 * k + 2];
    return matrix(c);
}

// In double precision, not rounded.
TracePoint applied(const TraceTransform& t, const TracePoint& to)
{
    const Nine m = nine(t.matrix);
    const Three p = three(to), o = three(t.offset);
    Three result;
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = double(m[i]) * p[0] + double(m[3 + i]) * p[1] + double(m[6 + i]) * p[2] + o[i];
    return point(result);
}

// The dot product with each column, in double precision and rounded at the end.
TracePoint dotColumns(const Vector& vector, const Matrix& columns)
{
    const Nine m = nine(columns);
    const Three v = three(vector);
    Three result;
    for (std::size_t k = 0; k < 3; ++k)
        result[k] = v[0] * double(m[3 * k]) + v[1] * double(m[3 * k + 1]) + v[2] * double(m[3 * k + 2]);
    return doubleOf(singleOf(point(result)));
}

TracePoint moved(const TracePoint& p, const TracePoint& by)
{
    return {p.x + by.x, p.y + by.y, p.z + by.z};
}

template <typename T>
Value joined(std::vector<T> left, const std::vector<T>& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return listOf(left);
}

// The kinds of two operands, as a row of a table asks for them.
struct Pair {
    ValueType left, right;
    bool is(ValueType l, ValueType r) const { return left == l && right == r; }
};

// clang-format off
Value sum(const Value& l, const Value& r)
{
    using enum ValueType;
    const Pair kinds{l.kind(), r.kind()};
    const auto plus = [](float a, float b) { return a + b; };
    if (kinds.is(Double, Double))         return l.getDouble() + r.getDouble();
    if (kinds.is(Matrix, Matrix))         return eachOf(l.getMatrix(), r.getMatrix(), plus);
    if (kinds.is(Vector, Vector))         return eachOf(l.getVector(), r.getVector(), plus);
    if (kinds.is(Transform, Transform))   return eachOf(l.getTransform(), r.getTransform(), plus);
    if (kinds.is(Color, Color)) {
        const auto a = l.getColor(), b = r.getColor();
        return Marl::Color{a.r + b.r, a.g + b.g, a.b + b.b};
    }
    if (kinds.is(AColor, AColor)) {
        const auto a = l.getAColor(), b = r.getAColor();
        return Marl::AColor{a.r + b.r, a.g + b.g, a.b + b.b, a.alpha + b.alpha};
    }
    if (kinds.is(List, List))             return joined(elementsOf(l.getList()), elementsOf(r.getList()));
    if (kinds.left == List)               return joined(elementsOf(l.getList()), {r});
    if (kinds.is(ListFloat, ListFloat))   return joined(elementsOf(l.getListFloat()), elementsOf(r.getListFloat()));
    if (kinds.is(ListInt, ListInt))       return joined(elementsOf(l.getListInt()), elementsOf(r.getListInt()));
    if (kinds.is(ListVector, ListVector)) return joined(elementsOf(l.getListVector()), elementsOf(r.getListVector()));
    if (kinds.is(ListColor, ListColor))   return joined(elementsOf(l.getListColor()), elementsOf(r.getListColor()));
    throw InvalidOpException("Unable to sum.");
}

Value difference(const Value& l, const Value& r)
{
    using enum ValueType;
    const Pair kinds{l.kind(), r.kind()};
    const auto minus = [](float a, float b) { return a - b; };
    if (kinds.is(Double, Double))       return l.getDouble() - r.getDouble();
    if (kinds.is(Matrix, Matrix))       return eachOf(l.getMatrix(), r.getMatrix(), minus);
    if (kinds.is(Vector, Vector))       return eachOf(l.getVector(), r.getVector(), minus);
    if (kinds.is(Transform, Transform)) return eachOf(l.getTransform(), r.getTransform(), minus);
    throw InvalidOpException("Unable to subtract.");
}

Value product(const Value& l, const Value& r)
{
    using enum ValueType;
    const Pair kinds{l.kind(), r.kind()};
    if (kinds.is(Double, Double))    return l.getDouble() * r.getDouble();
    if (kinds.is(Double, Vector))    return scaled(r.getVector(), single(l.getDouble()));
    if (kinds.is(Vector, Double))    return scaled(l.getVector(), single(r.getDouble()));
    if (kinds.is(Double, Matrix))    return scaled(r.getMatrix(), single(l.getDouble()));
    if (kinds.is(Matrix, Double))    return scaled(l.getMatrix(), single(r.getDouble()));
    if (kinds.is(Double, Color))     return scaled(r.getColor(), single(l.getDouble()));
    if (kinds.is(Color, Double))     return scaled(l.getColor(), single(r.getDouble()));
    if (kinds.is(Double, Transform)) return scaled(r.getTransform(), single(l.getDouble()));
    if (kinds.is(Transform, Double)) return scaled(l.getTransform(), single(r.getDouble()));
    if (kinds.is(Vector, Vector)) {
        const Three a = three(l.getVector()), b = three(r.getVector());
        return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    }
    if (kinds.is(Matrix, Matrix))    return product(l.getMatrix(), r.getMatrix());
    if (kinds.is(Vector, Matrix))    return dotColumns(l.getVector(), r.getMatrix());
    if (kinds.is(Color, Color)) {
        const auto a = l.getColor(), b = r.getColor();
        return Marl::Color{a.r * b.r, a.g * b.g, a.b * b.b};
    }
    if (kinds.is(AColor, AColor)) {
        const auto a = l.getAColor(), b = r.getAColor();
        return Marl::AColor{a.r * b.r, a.g * b.g, a.b * b.b, a.alpha * b.alpha};
    }
    if (kinds.is(Transform, Transform)) {
        const TraceTransform a = l.getTransform(), b = r.getTransform();
        return TraceTransform{product(a.matrix, b.matrix), applied(a, b.offset)};
    }
    if (kinds.is(Transform, Vector)) return applied(l.getTransform(), r.getTracePoint());
    if (kinds.is(Vector, Transform)) return dotColumns(singleOf(moved(l.getTracePoint(), r.getTransform().offset)), r.getTransform().matrix);
    throw InvalidOpException("Unable to multiply.");
}

Value quotient(const Value& l, const Value& r)
{
    using enum ValueType;
    const Pair kinds{l.kind(), r.kind()};
    const double divisor = r.getDouble();
    if (kinds.is(Double, Double)) return l.getDouble() / divisor;
    if (kinds.is(Matrix, Double)) return scaled(l.getMatrix(), 1.0f / single(divisor));
    if (kinds.is(Vector, Double)) return scaled(l.getVector(), single(1.0 / divisor));
    if (kinds.is(Color, Double))  return scaled(l.getColor(), 1.0f / single(divisor));
    if (kinds.is(AColor, Double)) return scaled(l.getAColor(), 1.0f / single(divisor));
    throw InvalidOpException("Unable to divide.");
}
// clang-format on

} // namespace

Vector singleOf(const TracePoint& p)
{
    return {single(p.x), single(p.y), single(p.z)};
}

TracePoint doubleOf(const Vector& v)
{
    return {double(v.x), double(v.y), double(v.z)};
}

Value operate(TOKENTYPE op, const Value& left, const Value& right)
{
    switch (static_cast<int>(op)) {
    case 13: return sum(left, right);
    case 14: return difference(left, right);
    case 15: return quotient(left, right);
    case 16: return product(left, right);
    }
    return Value();
}

Value negative(const Value& value)
{
    const auto minus = [](const Marl::Matrix& m) {
        Nine entries = nine(m);
        for (float& entry : entries)
            entry = -entry;
        return matrix(entries);
    };
    using enum ValueType;
    switch (value.kind()) {
    case Double: return -value.getDouble();
    case Vector: {
        const auto v = value.getVector();
        return doubleOf({-v.x, -v.y, -v.z});
    }
    case Color: {
        const auto c = value.getColor();
        return Marl::Color{-c.r, -c.g, -c.b};
    }
    case Matrix: return minus(value.getMatrix());
    case Transform: {
        const auto [m, o] = value.getTransform();
        return TraceTransform{minus(m), {-o.x, -o.y, -o.z}};
    }
    default: return value;
    }
}

} // namespace Marl::Fuzz
