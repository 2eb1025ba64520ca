// The built-in functions.
#include <marl/visitor/detail/operands.h>

#include <marl/value/detail/record_arithmetic.h>

#include <cmath>

namespace Marl {

namespace {

int argumentsOf(Builtin function)
{
    // clang-format off
    switch (function) {
    case Builtin::Sqr: case Builtin::Sqrt: case Builtin::Sin: case Builtin::Cos: case Builtin::Length: case Builtin::Noise:
        return 1;
    case Builtin::Pow: case Builtin::Cross: case Builtin::Uniform:
        return 2;
    default:
        return 0;
    }
    // clang-format on
}

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

MaybeNumber CalculationVisitor::call(BuiltinFunctionAST* node, int level)
{
    const auto function = Builtin(node->functionId);
    ExpressionAST *const first = node->args[0], *const second = node->args[1];
    switch (argumentsOf(function)) {
    case 1:
        if (!first)
            failIncompleteCall();
        return apply(function, operand(first, enter(level)), 0);
    case 2: {
        if (!first || !second)
            failIncompleteCall();
        const int inside = enter(level);
        evaluate(first, inside);
        return apply(function, operand(second, inside), widened(node->sample));
    }
    default: return apply(function, {}, widened(node->sample));
    }
}

// The last argument is a number or lies on the stack. Of two the first lies below it, and the
// last one is judged before the first.
MaybeNumber CalculationVisitor::apply(Builtin function, MaybeNumber last, double sample)
{
    switch (function) {
    case Builtin::Time: return just(timeParam);
    case Builtin::Sample: return just(sample);
    case Builtin::Pi: return just(widened(3.14159274f)); // pi in single precision, on purpose
    case Builtin::Sqr: {
        const double x = numberOrTake(last, "Function argument for sqr() expected to evaluate to a number.");
        return just(x * x);
    }
    case Builtin::Sqrt:
        return just(std::sqrt(numberOrTake(last, "Function argument for sqrt() expected to evaluate to a number.")));
    case Builtin::Sin:
        return just(std::sin(numberOrTake(last, "Function argument for sin() expected to evaluate to a number.")));
    case Builtin::Cos:
        return just(std::cos(numberOrTake(last, "Function argument for cos() expected to evaluate to a number.")));
    case Builtin::Length: return just(widened(length(vectorOrTake(last))));
    case Builtin::Noise: return just(widened(noise(vectorOrTake(last))));
    case Builtin::Pow: {
        const double b = numberOrTake(last, "Second function argument for pow() expected to evaluate to a number.");
        const double a = takeNumber("First function argument for pow() expected to evaluate to a number.");
        return just(std::pow(a, b));
    }
    case Builtin::Cross: {
        const Vector b = vectorOrTake(last);
        const Vector a = takeVector();
        valueStack.push(widened(cross(a, b)));
        return {};
    }
    case Builtin::Uniform: {
        const double b =
            numberOrTake(last, "Second function argument for uniform() expected to evaluate to a number.");
        const double a = takeNumber("First function argument for uniform() expected to evaluate to a number.");
        return just((1.0 - sample) * a + b * sample);
    }
    default: valueStack.push(); return {};
    }
}

} // namespace Marl
