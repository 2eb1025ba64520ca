// The four operators on two numbers.
#pragma once

#include <marl/ast/token_type.h>
#include <marl/value/maybe_number.h>

namespace Marl {

// An operator code that is none of the four comes to what `otherwise` says.
template <typename Otherwise>
MaybeNumber calculate(TOKENTYPE op, double left, double right, Otherwise otherwise)
{
    switch (op) {
    case TOKEN_MULTIPLY: return just(left * right);
    case TOKEN_PLUS: return just(left + right);
    case TOKEN_MINUS: return just(left - right);
    case TOKEN_DIVIDE: return just(left / right);
    }
    return otherwise();
}

} // namespace Marl
