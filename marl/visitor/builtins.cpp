// The built-in functions.
#include <marl/visitor/detail/operands.h>

#include <marl/ast/detail/number_operators.h>
#include <marl/ast/detail/operations.h>
#include <marl/value/detail/functions.h>
#include <marl/value/detail/noise.h>

namespace Marl {

void CalculationVisitor::visitBuiltinFunction(BuiltinFunctionAST* node)
{
    if (node)
        pushNumber(call(node, levelOfVisit()));
}

MaybeNumber CalculationVisitor::call(BuiltinFunctionAST* node, int level)
{
    const auto function = Builtin(node->functionId);
    switch (function) {
    case Builtin::Time: return just(timeParam);
    case Builtin::Sample: return just(widened(node->sample));
    case Builtin::Pi: return just(pi);
    case Builtin::Sqr:
    case Builtin::Sqrt:
    case Builtin::Sin:
    case Builtin::Cos:
    case Builtin::Length:
    case Builtin::Noise: {
        if (!node->args[0])
            failIncompleteCall();
        const MaybeNumber argument = operand(node->args[0], enter(level));
        if (argument.isThere)
            if (const MaybeNumber result = calculate(function, argument.number); result.isThere)
                return result;
        return applyToOne(function, argument);
    }
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

MaybeNumber CalculationVisitor::applyToOne(Builtin function, MaybeNumber argument)
{
    return just(applied(function, taken(argument)).getDouble());
}

// The first argument lies on the stack, and stays there when the second one, which is judged before it,
// is refused.
MaybeNumber CalculationVisitor::applyToTwo(Builtin function, MaybeNumber secondOperand, double sample)
{
    const Value second = taken(secondOperand);
    try {
        valueStack.top() = applied(function, valueStack.top(), second, sample);
    } catch (...) {
        if (!isUndefined(second))
            valueStack.pop();
        throw;
    }
    return takeIfNumber();
}

float CalculationVisitor::noise(const Vector& point)
{
    return Marl::noise(point);
}

} // namespace Marl
