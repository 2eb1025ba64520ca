#include <fuzz/same_bits.h>

#include <fuzz/reference_arithmetic.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace Marl::Fuzz {

namespace {

bool same(float l, float r)
{
    return std::bit_cast<std::uint32_t>(l) == std::bit_cast<std::uint32_t>(r) || (std::isnan(l) && std::isnan(r));
}

// clang-format off
bool same(double l, double r)                     { return sameBits(l, r); }
bool same(int l, int r)                           { return l == r; }
bool same(const CharString& l, const CharString& r) { return l == r; }
bool same(const Vector& l, const Vector& r)       { return same(l.x, r.x) && same(l.y, r.y) && same(l.z, r.z); }
bool same(const TracePoint& l, const TracePoint& r) { return same(l.x, r.x) && same(l.y, r.y) && same(l.z, r.z); }
bool same(const Color& l, const Color& r)         { return same(l.r, r.r) && same(l.g, r.g) && same(l.b, r.b); }
bool same(const AColor& l, const AColor& r)       { return same(l.r, r.r) && same(l.g, r.g) && same(l.b, r.b) && same(l.alpha, r.alpha); }
bool same(const Matrix& l, const Matrix& r)       { return same(l.columns[0], r.columns[0]) && same(l.columns[1], r.columns[1]) && same(l.columns[2], r.columns[2]); }
bool same(const TraceTransform& l, const TraceTransform& r) { return same(l.matrix, r.matrix) && same(l.offset, r.offset); }
bool same(const Value& l, const Value& r)         { return sameBits(l, r); }
// clang-format on

// Gives both arrays up.
template <typename T>
bool same(PtrArray<T>&& l, PtrArray<T>&& r)
{
    const std::vector<T> left = elementsOf(std::move(l)), right = elementsOf(std::move(r));
    return std::ranges::equal(left, right, [](const T& a, const T& b) { return same(a, b); });
}

} // namespace

bool sameBits(double left, double right)
{
    return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right)
        || (std::isnan(left) && std::isnan(right));
}

// clang-format off
bool sameBits(const Value& l, const Value& r)
{
    if (l.kind() != r.kind())
        return false;
    switch (l.kind()) {
    case ValueType::Undefined:    return true;
    case ValueType::Double:       return same(l.getDouble(), r.getDouble());
    case ValueType::List:         return same(l.getList(), r.getList());
    case ValueType::Vector:       return same(l.getTracePoint(), r.getTracePoint());
    case ValueType::Matrix:       return same(l.getMatrix(), r.getMatrix());
    case ValueType::Color:        return same(l.getColor(), r.getColor());
    case ValueType::AColor:       return same(l.getAColor(), r.getAColor());
    case ValueType::Transform:    return same(l.getTransform(), r.getTransform());
    case ValueType::ListVector:   return same(l.getListVector(), r.getListVector());
    case ValueType::ListInt:      return same(l.getListInt(), r.getListInt());
    case ValueType::ListColor:    return same(l.getListColor(), r.getListColor());
    case ValueType::ListFloat:    return same(l.getListFloat(), r.getListFloat());
    case ValueType::String:       return l.getString() == r.getString() && l.getScenePath() == r.getScenePath();
    case ValueType::ListString:   return same(l.getListString(), r.getListString()) && l.getScenePath() == r.getScenePath();
    case ValueType::Object:       return l.getObject() == r.getObject();
    case ValueType::ObjectID:     return l.getObjectID() == r.getObjectID();
    case ValueType::RuntimeValue: return l.getRuntimeValue() == r.getRuntimeValue();
    }
    return false;
}
// clang-format on

} // namespace Marl::Fuzz
