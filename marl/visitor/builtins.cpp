// The built-in functions.
#include <marl/visitor/detail/operands.h>

#include <marl/value/detail/record_arithmetic.h>

#include <cmath>

namespace Marl {

namespace {

[[noreturn]] void failIncompleteCall()
{
    fail("Built-in function lacks an argument.");
}

// Every step in single precision.
float length(const Vector& v)
{
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

} // namespace

void CalculationVisitor::visitBuiltinFunction(BuiltinFunctionAST* node)
{
    if (node)
        pushNumber(call(node, levelOfVisit()));
}

// What the argument of a function that takes one comes to.
inline MaybeNumber CalculationVisitor::argument(BuiltinFunctionAST* node, int level)
{
    if (!node->args[0])
        failIncompleteCall();
    return operand(node->args[0], enter(level));
}

MaybeNumber CalculationVisitor::call(BuiltinFunctionAST* node, int level)
{
    const auto function = Builtin(node->functionId);
    switch (function) {
    case Builtin::Time: return just(timeParam);
    case Builtin::Sample: return just(widened(node->sample));
    case Builtin::Pi: return just(widened(3.14159274f)); // pi in single precision, on purpose
    case Builtin::Sqr: {
        const double x =
            numberOrTake(argument(node, level), "Function argument for sqr() expected to evaluate to a number.");
        return just(x * x);
    }
    case Builtin::Sqrt:
        return just(std::sqrt(
            numberOrTake(argument(node, level), "Function argument for sqrt() expected to evaluate to a number.")));
    case Builtin::Sin:
        return just(std::sin(
            numberOrTake(argument(node, level), "Function argument for sin() expected to evaluate to a number.")));
    case Builtin::Cos:
        return just(std::cos(
            numberOrTake(argument(node, level), "Function argument for cos() expected to evaluate to a number.")));
    case Builtin::Length: return just(widened(length(vectorOrTake(argument(node, level)))));
    case Builtin::Noise: return just(widened(noise(vectorOrTake(argument(node, level)))));
    case Builtin::Pow:
    case Builtin::Cross:
    case Builtin::Uniform: {
        if (!node->args[0] || !node->args[1])
            failIncompleteCall();
        const int inside = enter(level);
        evaluate(node->args[0], inside);
        return applyToTwo(function, operand(node->args[1], inside), widened(node->sample));
    }
    }
    valueStack.push();
    return {};
}

// The second argument is a number or lies on the stack; the first one lies there, below it. The
// second is judged before the first.
MaybeNumber CalculationVisitor::applyToTwo(Builtin function, MaybeNumber second, double sample)
{
    if (function == Builtin::Cross) {
        const Vector b = vectorOrTake(second);
        const Vector a = takeVector();
        valueStack.push(widened(cross(a, b)));
        return {};
    }
    if (function == Builtin::Pow) {
        const double b = numberOrTake(second, "Second function argument for pow() expected to evaluate to a number.");
        const double a = takeNumber("First function argument for pow() expected to evaluate to a number.");
        return just(std::pow(a, b));
    }
    const double b = numberOrTake(second, "Second function argument for uniform() expected to evaluate to a number.");
    const double a = takeNumber("First function argument for uniform() expected to evaluate to a number.");
    return just((1.0 - sample) * a + b * sample);
}

} // namespace Marl
