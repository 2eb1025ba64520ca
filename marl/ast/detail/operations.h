// Operators, literals, keys and indices: which rule of arithmetic (marl/value/detail) applies to which kinds, and
// what is said when none does.
#pragma once

#include <marl/ast/nodes.h>
#include <marl/ast/token_type.h>
#include <marl/value/detail/failures.h>
#include <marl/value/detail/operators.h>
#include <marl/value/value.h>

namespace Marl {

inline bool isNumber(const Value& value)
{
    return value.kind() == ValueType::Double;
}

// Puts the result in the place of the left number. False for an operator code that is none of the four.
inline bool operate(TOKENTYPE op, double& left, double right)
{
    switch (op) {
    case TOKEN_PLUS: left = sum(left, right); return true;
    case TOKEN_MINUS: left = difference(left, right); return true;
    case TOKEN_MULTIPLY: left = product(left, right); return true;
    case TOKEN_DIVIDE: left = quotient(left, right); return true;
    }
    return false;
}

void operateOnAnyKinds(TOKENTYPE op, Value& left, const Value& right);

// Puts the result in the place of the left operand, which stays as it is when this throws. A list result
// shares no storage with the operands. An operator code that is none of the four gives an undefined value.
inline void operate(TOKENTYPE op, Value& left, const Value& right)
{
    if (isNumber(left) && isNumber(right)) { // as nearly all operands are
        double number = left.getDouble();
        if (operate(op, number, right.getDouble()))
            return left.setDouble(number);
    }
    operateOnAnyKinds(op, left, right);
}

// In place; a kind without sign stays as it is.
void changeSign(Value& value);

// A key's value on the way to the next one's. The kind of the earlier value decides: what
// cannot be weighted holds; what can be weighted but not added is the author's mistake.
Value blended(const Value& earlier, const Value& later, double factor);

inline bool isUndefined(const Value& value)
{
    return value.kind() == ValueType::Undefined;
}

// Only Undefined is not a number; any other kind answers getDouble() in its own way.
inline double numberOrThrow(const Value& value, const char* complaint)
{
    if (isUndefined(value))
        fail(complaint);
    return value.getDouble();
}

// The element of a whole that an index selects.
inline ExpressionAST* elementAt(ExpressionAST* whole, int index)
{
    if (!whole)
        failIncomplete();
    ExpressionAST* element = whole->getElement(index);
    if (!element)
        failOutsideArray(index);
    return element;
}

// Said of a value that is no number where one is expected.
namespace Complaint {

inline constexpr const char* vector = "Vector expected to contain numbers only";
inline constexpr const char* color = "Color expected to contain numbers only";
inline constexpr const char* acolor = "AColor expected to contain numbers only";
inline constexpr const char* index = "Array indexer expected to evaluate to a number.";
inline constexpr const char* keyTime = "Keys in interpolate expression must be numbers.";

} // namespace Complaint

} // namespace Marl
