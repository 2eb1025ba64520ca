// What the operators come to: each is a table of the pairs of kinds that it takes.
#include <marl/visitor/detail/operands.h>

#include <marl/value/detail/array_hold.h>
#include <marl/value/detail/record_arithmetic.h>

#include <algorithm>
#include <climits>

namespace Marl {

namespace {

// Two kinds as one number, so that a table is a switch and a doubled row does not compile.
constexpr int pair(ValueType left, ValueType right)
{
    return static_cast<int>(left) << 8 | static_cast<int>(right);
}

int pair(const Value& left, const Value& right)
{
    return left.getValueType() << 8 | right.getValueType();
}

// What getVector() gives, without the call.
Vector singles(const Value& value)
{
    return narrowed(value.getTracePoint());
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

// clang-format off
void put(Value& place, double result)                { place.setDouble(result); }
void put(Value& place, const TracePoint& result)     { place.setVector(result); }
void put(Value& place, const Matrix& result)         { place.setMatrix(result); }
void put(Value& place, const Color& result)          { place.setColor(result); }
void put(Value& place, const TraceTransform& result) { place.setTransform(result); }
void put(Value& place, Value&& result)               { place = std::move(result); }

// The operators put their result in the place of the left operand, which on the stack is where it
// belongs; an operand's place is left alone by one that fails.
void add(Value& left, const Value& right)
{
    using enum ValueType;
    switch (pair(left, right)) {
    case pair(Double, Double):         return put(left, left.getDouble() + right.getDouble());
    case pair(Matrix, Matrix):         return put(left, left.getMatrix() + right.getMatrix());
    case pair(Vector, Vector):         return put(left, widened(singles(left) + singles(right)));
    case pair(Transform, Transform):   return put(left, widened(narrowed(left.getTransform()) + narrowed(right.getTransform())));
    case pair(Color, Color):           return put(left, left.getColor() + right.getColor());
    case pair(AColor, AColor):         return put(left, left.getAColor() + right.getAColor());
    case pair(List, List):             return put(left, concatenated(left.getList(), right.getList()));
    case pair(ListFloat, ListFloat):   return put(left, concatenated(left.getListFloat(), right.getListFloat()));
    case pair(ListInt, ListInt):       return put(left, concatenated(left.getListInt(), right.getListInt()));
    case pair(ListVector, ListVector): return put(left, concatenated(left.getListVector(), right.getListVector()));
    case pair(ListColor, ListColor):   return put(left, concatenated(left.getListColor(), right.getListColor()));
    }
    // A list takes anything else as one more element.
    if (left.getValueType() == static_cast<int>(List))
        return put(left, appended(left.getList(), right));
    fail("Unable to sum.");
}

void subtract(Value& left, const Value& right)
{
    using enum ValueType;
    switch (pair(left, right)) {
    case pair(Double, Double):       return put(left, left.getDouble() - right.getDouble());
    case pair(Matrix, Matrix):       return put(left, left.getMatrix() - right.getMatrix());
    case pair(Vector, Vector):       return put(left, widened(singles(left) - singles(right)));
    case pair(Transform, Transform): return put(left, widened(narrowed(left.getTransform()) - narrowed(right.getTransform())));
    }
    fail("Unable to subtract.");
}

void multiply(Value& left, const Value& right)
{
    using enum ValueType;
    // A transform acts on a vector in the vector's full precision.
    switch (pair(left, right)) {
    case pair(Double, Double):       return put(left, left.getDouble() * right.getDouble());
    case pair(Double, Vector):       return put(left, widened(singles(right) * single(left.getDouble())));
    case pair(Vector, Double):       return put(left, widened(singles(left) * single(right.getDouble())));
    case pair(Vector, Vector):       return put(left, dot(singles(left), singles(right)));
    case pair(Matrix, Matrix):       return put(left, left.getMatrix() * right.getMatrix());
    case pair(Vector, Matrix):       return put(left, widened(singles(left) * right.getMatrix()));
    case pair(Matrix, Double):       return put(left, left.getMatrix() * single(right.getDouble()));
    case pair(Double, Matrix):       return put(left, right.getMatrix() * single(left.getDouble()));
    case pair(Color, Double):        return put(left, left.getColor() * single(right.getDouble()));
    case pair(Double, Color):        return put(left, right.getColor() * single(left.getDouble()));
    case pair(Color, Color):         return put(left, left.getColor() * right.getColor());
    case pair(AColor, AColor):       return put(left, left.getAColor() * right.getAColor());
    case pair(Transform, Double):    return put(left, left.getTransform() * single(right.getDouble()));
    case pair(Double, Transform):    return put(left, right.getTransform() * single(left.getDouble()));
    case pair(Transform, Transform): return put(left, left.getTransform() * right.getTransform());
    case pair(Transform, Vector):    return put(left, left.getTransform() * right.getTracePoint());
    case pair(Vector, Transform):    return put(left, widened(left.getTracePoint() * right.getTransform()));
    }
    fail("Unable to multiply.");
}

void divide(Value& left, const Value& right)
{
    using enum ValueType;
    // A vector's reciprocal is taken in double and then rounded; the others round the
    // divisor first. The factors differ in their last bits.
    switch (pair(left, right)) {
    case pair(Double, Double): return put(left, left.getDouble() / right.getDouble());
    case pair(Vector, Double): return put(left, widened(singles(left) * single(1.0 / right.getDouble())));
    case pair(Matrix, Double): return put(left, left.getMatrix() * (1.0f / single(right.getDouble())));
    case pair(Color, Double):  return put(left, left.getColor() * (1.0f / single(right.getDouble())));
    case pair(AColor, Double): return put(left, left.getAColor() * (1.0f / single(right.getDouble())));
    }
    fail("Unable to divide.");
}

void operateInPlace(TOKENTYPE op, Value& left, const Value& right)
{
    switch (op) {
    case TOKEN_MULTIPLY: return multiply(left, right);
    case TOKEN_PLUS:     return add(left, right);
    case TOKEN_MINUS:    return subtract(left, right);
    case TOKEN_DIVIDE:   return divide(left, right);
    }
    left = Value();
}
// clang-format on

} // namespace

// The right operand is a number or lies on the stack; the left one lies there, below it. Both leave the
// stack, also when the operator throws.
MaybeNumber CalculationVisitor::combineTopWith(MaybeNumber right, TOKENTYPE op)
{
    pushNumber(right);
    try {
        operateInPlace(op, valueStack.below(), valueStack.top());
    } catch (...) {
        valueStack.pop();
        valueStack.pop();
        throw;
    }
    valueStack.pop();
    return takeIfNumber();
}

Value CalculationVisitor::doOp(TOKENTYPE op, const Value& left, const Value& right)
{
    Value result(left);
    operateInPlace(op, result, right);
    return result;
}

Value CalculationVisitor::doSum(const Value& left, const Value& right)
{
    return doOp(TOKEN_PLUS, left, right);
}

Value CalculationVisitor::doSubraction(const Value& left, const Value& right)
{
    return doOp(TOKEN_MINUS, left, right);
}

Value CalculationVisitor::doMultiply(const Value& left, const Value& right)
{
    return doOp(TOKEN_MULTIPLY, left, right);
}

Value CalculationVisitor::doDivision(const Value& left, const Value& right)
{
    return doOp(TOKEN_DIVIDE, left, right);
}

// clang-format off
void CalculationVisitor::visitNegatedExpression(NegatedExpressionAST* node)
{
    pushNumber(negated(node, levelOfVisit()));
}

MaybeNumber CalculationVisitor::negated(NegatedExpressionAST* node, int level)
{
    const auto [number, isThere] = operand(node->operand, enter(level));
    if (isThere)
        return just(-number);
    negate(valueStack.top());
    return {};
}

void CalculationVisitor::negate(Value& value)
{
    using enum ValueType;
    // A vector is rounded to single on the way, a transform's offset is not.
    switch (ValueType(value.getValueType())) {
    case Double:    value.setDouble(-value.getDouble()); break;
    case Vector:    value.setVector(widened(-value.getVector())); break;
    case Color:     value.setColor(-value.getColor()); break;
    case Matrix:    value.setMatrix(-value.getMatrix()); break;
    case Transform: value.setTransform(-value.getTransform()); break;
    default:        break;
    }
}
// clang-format on

} // namespace Marl
