// The built-in functions: what they take, what they give, and how it is computed.
#pragma once

#include <marl/ast/nodes.h>
#include <marl/value/detail/functions.h>
#include <marl/value/detail/noise.h>
#include <marl/value/detail/precision.h>
#include <marl/value/value.h>

#include <cstddef>
#include <span>

namespace Marl {

struct Signature {
    int argumentCount;
    ValueType takes;
    ValueType gives;
};

// An id without function takes nothing and gives an undefined value.
constexpr Signature signatureOf(int functionId)
{
    using enum ValueType;
    // clang-format off
    switch (Builtin(functionId)) {
    case Builtin::Time:    return {0, Undefined, Double};
    case Builtin::Sample:  return {0, Undefined, Double};
    case Builtin::Pi:      return {0, Undefined, Double};
    case Builtin::Sqr:     return {1, Double, Double};
    case Builtin::Sqrt:    return {1, Double, Double};
    case Builtin::Sin:     return {1, Double, Double};
    case Builtin::Cos:     return {1, Double, Double};
    case Builtin::Length:  return {1, Vector, Double};
    case Builtin::Noise:   return {1, Vector, Double};
    case Builtin::Pow:     return {2, Double, Double};
    case Builtin::Cross:   return {2, Vector, Vector};
    case Builtin::Uniform: return {2, Double, Double};
    }
    // clang-format on
    return {0, Undefined, Undefined};
}

inline std::span<ExpressionAST* const> argumentsOf(const BuiltinFunctionAST& node)
{
    return std::span(node.args).first(static_cast<std::size_t>(signatureOf(node.functionId).argumentCount));
}

// Computes a function of arguments, which are handed over one by one, the last one first. `number` is told what
// to say of an argument that is none; as a `point` any value is good.
template <typename TakeNumber, typename TakePoint>
Value call(const BuiltinFunctionAST& node, TakeNumber number, TakePoint point)
{
    // clang-format off
    switch (Builtin(node.functionId)) {
    case Builtin::Sqr:     return square(number("Function argument for sqr() expected to evaluate to a number."));
    case Builtin::Sqrt:    return squareRoot(number("Function argument for sqrt() expected to evaluate to a number."));
    case Builtin::Sin:     return sine(number("Function argument for sin() expected to evaluate to a number."));
    case Builtin::Cos:     return cosine(number("Function argument for cos() expected to evaluate to a number."));
    case Builtin::Length:  return length(point());
    case Builtin::Noise:   return widened(noise(narrowed(point())));
    case Builtin::Pow: {
        const double exponent = number("Second function argument for pow() expected to evaluate to a number.");
        const double base = number("First function argument for pow() expected to evaluate to a number.");
        return power(base, exponent);
    }
    case Builtin::Cross: {
        const TracePoint right = point(), left = point();
        return crossProduct(left, right);
    }
    case Builtin::Uniform: {
        const double b = number("Second function argument for uniform() expected to evaluate to a number.");
        const double a = number("First function argument for uniform() expected to evaluate to a number.");
        return uniform(a, b, widened(node.sample));
    }
    case Builtin::Time:
    case Builtin::Sample:
    case Builtin::Pi: break; // take none
    }
    // clang-format on
    return Value();
}

} // namespace Marl
