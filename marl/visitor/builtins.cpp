// The built-in functions, and those that a host brings.
#include <marl/visitor/detail/walking.h>

#include <marl/ast/detail/builtins.h>
#include <marl/ast/function_expression.h>
#include <marl/value/detail/footprint.h>
#include <marl/value/detail/noise.h>

#include <algorithm>
#include <optional>

namespace Marl {

void CalculationVisitor::visitBuiltinFunction(BuiltinFunctionAST* node)
{
    if (!node)
        return;
    switch (Builtin(node->functionId)) {
    case Builtin::Time: return valueStack.push(timeParam);
    case Builtin::Sample: return valueStack.push(widened(node->sample));
    case Builtin::Pi: return valueStack.push(pi);
    default: break;
    }
    const auto arguments = argumentsOf(*node);
    if (std::ranges::find(arguments, nullptr) != arguments.end())
        at(node, failIncompleteCall);
    std::optional<Level> level;
    if (!arguments.empty())
        level.emplace(*this, node);
    for (ExpressionAST* argument : arguments)
        evaluate(node, argument);
    callOnTop(node);
}

// A function takes its arguments off the stack, the last one first: one that is refused leaves those before
// it there.
void CalculationVisitor::callOnTop(BuiltinFunctionAST* node)
{
    const auto number = [this](const char* complaint) { return takeNumber(complaint); };
    const auto point = [this] { return takePoint(); };
    valueStack.push(at(node, [&] { return call(*node, number, point); }));
}

void CalculationVisitor::visitFunctionExpression(FunctionExpressionAST* node)
{
    std::optional<Level> level;
    if (!node->arguments.empty())
        level.emplace(*this, node);
    for (ExpressionAST* argument : node->arguments)
        evaluate(node, argument);
    callOnTop(node);
}

// The arguments leave the stack, also when the function throws.
void CalculationVisitor::callOnTop(FunctionExpressionAST* node)
{
    const std::size_t count = node->arguments.size();
    Value result;
    try {
        result = at(node, [&] { return node->call(valueStack.newest(count), {timeParam, dontInterpolate != 0}); });
    } catch (...) {
        valueStack.pop(count);
        throw;
    }
    valueStack.pop(count);
    if (budget.limitsMemory())
        takeMemory(node, allBytesOf(result));
    at(node, [this] { budget.lookAtStopFlag(); });
    valueStack.push(std::move(result));
}

float CalculationVisitor::noise(const Vector& point)
{
    return Marl::noise(point);
}

} // namespace Marl
