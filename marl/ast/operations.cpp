#include <marl/ast/detail/operations.h>

#include <marl/value/array_hold.h>
#include <marl/value/detail/blend.h>
#include <marl/value/detail/failures.h>
#include <marl/value/detail/operators.h>
#include <marl/value/exceptions.h>

#include <algorithm>
#include <climits>
#include <type_traits>
#include <utility>

namespace Marl {

namespace {

constexpr const char* unableToSum = "Unable to sum.";

[[noreturn]] void failOn(const Value& left, const Value& right, const char* message)
{
    throw InvalidOpException(message, {.leftKind = left.kind(), .rightKind = right.kind()});
}

// Calls `use` with the record that a value holds; not at all when its kind is none of the plain records.
template <typename Use>
void withRecord(const Value& value, Use use)
{
    // clang-format off
    switch (value.kind()) {
    case ValueType::Double:    use(value.getDouble()); break;
    case ValueType::Vector:    use(value.getTracePoint()); break;
    case ValueType::Matrix:    use(value.getMatrix()); break;
    case ValueType::Color:     use(value.getColor()); break;
    case ValueType::AColor:    use(value.getAColor()); break;
    case ValueType::Transform: use(value.getTransform()); break;
    default:                   break;
    }
    // clang-format on
}

// Calls `use` with the records of two values, whatever pair of kinds they are.
template <typename Use>
void withRecords(const Value& left, const Value& right, Use use)
{
    withRecord(left, [&](const auto& l) { withRecord(right, [&](const auto& r) { use(l, r); }); });
}

// clang-format off
void put(Value& place, double result)                { place.setDouble(result); }
void put(Value& place, const TracePoint& result)     { place.setVector(result); }
void put(Value& place, const Matrix& result)         { place.setMatrix(result); }
void put(Value& place, const Color& result)          { place.setColor(result); }
void put(Value& place, const TraceTransform& result) { place.setTransform(result); }
void put(Value& place, Value&& result)               { place = std::move(result); }
// clang-format on

// False when the rule has no row for the two kinds.
template <typename Rule>
bool combine(const Rule& rule, Value& left, const Value& right)
{
    bool hasRow = false;
    withRecords(left, right, [&](const auto& l, const auto& r) {
        if constexpr (std::is_invocable_v<Rule, decltype(l), decltype(r)>) {
            put(left, rule(l, r));
            hasRow = true;
        }
    });
    return hasRow;
}

template <typename T>
ArrayHold<T> roomFor(const PtrArray<T>& left, int more)
{
    if (left.count > INT_MAX - more)
        fail("List is too long.");
    return ArrayHold<T>(left.count + more);
}

template <typename T>
Value concatenated(PtrArray<T>&& leftList, PtrArray<T>&& rightList)
{
    ArrayHold<T> left(std::move(leftList)), right(std::move(rightList));
    ArrayHold<T> joined = roomFor(*left, right->count);
    T* behindLeft = std::copy_n(left->data, left->count, joined->data);
    std::copy_n(right->data, right->count, behindLeft);
    return Value(*joined);
}

Value appended(PtrArray<Value>&& list, const Value& element)
{
    ArrayHold<Value> left(std::move(list));
    ArrayHold<Value> joined = roomFor(*left, 1);
    *std::copy_n(left->data, left->count, joined->data) = element;
    return Value(*joined);
}

// Lists of one kind are joined; a list takes anything else as one more element.
void join(Value& left, const Value& right)
{
    const bool isOneKind = left.kind() == right.kind();
    // clang-format off
    switch (left.kind()) {
    case ValueType::List:       if (!isOneKind) return put(left, appended(left.getList(), right));
                                return put(left, concatenated(left.getList(), right.getList()));
    case ValueType::ListVector: if (!isOneKind) break;
                                return put(left, concatenated(left.getListVector(), right.getListVector()));
    case ValueType::ListInt:    if (!isOneKind) break;
                                return put(left, concatenated(left.getListInt(), right.getListInt()));
    case ValueType::ListColor:  if (!isOneKind) break;
                                return put(left, concatenated(left.getListColor(), right.getListColor()));
    case ValueType::ListFloat:  if (!isOneKind) break;
                                return put(left, concatenated(left.getListFloat(), right.getListFloat()));
    default:                    break;
    }
    // clang-format on
    failOn(left, right, unableToSum);
}

Value blendedLists(const Value& earlierValue, const Value& laterValue, double factor)
{
    ArrayHold<Vector> earlier(earlierValue.getListVector()), later(laterValue.getListVector());
    if (earlier->count != later->count)
        return earlierValue;
    ArrayHold<Vector> between(earlier->count);
    for (int i = 0; i < between->count; ++i)
        between[i] = narrowed(blend(widened(earlier[i]), widened(later[i]), factor));
    return Value(*between);
}

template <typename Record>
constexpr bool canBeWeighted = std::is_invocable_v<decltype(Rule::product), double, Record>;

} // namespace

void operateOnAnyKinds(TOKENTYPE op, Value& left, const Value& right)
{
    switch (op) {
    case TOKEN_MULTIPLY:
        if (!combine(Rule::product, left, right))
            failOn(left, right, "Unable to multiply.");
        return;
    case TOKEN_PLUS:
        if (!combine(Rule::sum, left, right))
            join(left, right);
        return;
    case TOKEN_MINUS:
        if (!combine(Rule::difference, left, right))
            failOn(left, right, "Unable to subtract.");
        return;
    case TOKEN_DIVIDE:
        if (!combine(Rule::quotient, left, right))
            failOn(left, right, "Unable to divide.");
        return;
    }
    left = Value();
}

void changeSign(Value& value)
{
    withRecord(value, [&](const auto& record) { put(value, Rule::negative(record)); });
}

Value blended(const Value& earlier, const Value& later, double factor)
{
    if (earlier.kind() == ValueType::ListVector)
        return blendedLists(earlier, later, factor);
    if (earlier.kind() == ValueType::Transform)
        return blend(earlier.getTransform(), later.getTransform(), factor);

    Value between(earlier);
    withRecords(earlier, later, [&]<typename Earlier, typename Later>(const Earlier& e, const Later& l) {
        if constexpr (std::is_same_v<Earlier, Later>)
            put(between, blend(e, l, factor));
        else if constexpr (canBeWeighted<Earlier> && canBeWeighted<Later>)
            failOn(earlier, later, unableToSum);
    });
    return between;
}

} // namespace Marl
