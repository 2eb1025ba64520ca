// The four operators on two numbers, and the functions of one.
#pragma once

#include <marl/ast/nodes.h>
#include <marl/ast/token_type.h>
#include <marl/value/detail/functions.h>
#include <marl/value/detail/operators.h>
#include <marl/value/maybe_number.h>

namespace Marl {

// Nothing for an operator code that is none of the four.
inline MaybeNumber calculate(TOKENTYPE op, double left, double right)
{
    switch (op) {
    case TOKEN_MULTIPLY: return just(product(left, right));
    case TOKEN_PLUS: return just(sum(left, right));
    case TOKEN_MINUS: return just(difference(left, right));
    case TOKEN_DIVIDE: return just(quotient(left, right));
    }
    return {};
}

// Nothing for a function of anything but one number.
inline MaybeNumber calculate(Builtin function, double x)
{
    switch (function) {
    case Builtin::Sqr: return just(square(x));
    case Builtin::Sqrt: return just(squareRoot(x));
    case Builtin::Sin: return just(sine(x));
    case Builtin::Cos: return just(cosine(x));
    case Builtin::Time:
    case Builtin::Sample:
    case Builtin::Pi:
    case Builtin::Length:
    case Builtin::Noise:
    case Builtin::Pow:
    case Builtin::Cross:
    case Builtin::Uniform: break;
    }
    return {};
}

} // namespace Marl
