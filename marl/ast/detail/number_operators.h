// The four operators on two numbers.
#pragma once

#include <marl/ast/token_type.h>
#include <marl/value/maybe_number.h>

namespace Marl {

// Nothing for an operator code that is none of the four.
inline MaybeNumber calculate(TOKENTYPE op, double left, double right)
{
    switch (op) {
    case TOKEN_MULTIPLY: return just(left * right);
    case TOKEN_PLUS: return just(left + right);
    case TOKEN_MINUS: return just(left - right);
    case TOKEN_DIVIDE: return just(left / right);
    }
    return {};
}

} // namespace Marl
