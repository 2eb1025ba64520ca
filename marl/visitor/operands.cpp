#include <marl/visitor/detail/walking.h>

namespace Marl {

// A level that may be one too many, or the outermost one, with which an evaluation begins, or a step of one that
// is limited.
void CalculationVisitor::enterWatched(ExpressionAST* node)
{
    if (depth >= depthLimit)
        at(node, failTooDeep);
    if (depth == 0)
        budget.begin();
    takeStep(node);
}

// Also for work that is no level: an item of a list, a key.
void CalculationVisitor::takeStep(ExpressionAST* node)
{
    if (budget.isLimited())
        at(node, [this] { budget.takeStep(); });
}

// For a list or a text that comes into being. A leaf may be all that is evaluated.
void CalculationVisitor::takeMemory(ExpressionAST* node, std::uint64_t bytes)
{
    if (depth == 0)
        budget.begin();
    at(node, [&] { budget.takeMemory(bytes); });
}

// A vector literal of no known kind leaves no value, nor does a host's node that forgets to. More than one is
// left by a host's node that catches what a child throws and evaluates another one: what the failure left lies
// below the value then, and is given up.
void CalculationVisitor::settle(ExpressionAST* node, std::ptrdiff_t before)
{
    if (valueStack.height() <= before)
        at(node, failIncomplete);
    while (valueStack.height() > before + ValueStack::valueHeight) {
        valueStack.below() = std::move(valueStack.top());
        valueStack.pop();
    }
}

// What is refused has left the stack too.
double CalculationVisitor::takeNumber(const char* complaint)
{
    const bool isRefused = isUndefined(valueStack.top());
    const double number = valueStack.top().getDouble();
    valueStack.pop();
    if (isRefused)
        fail(complaint);
    return number;
}

// What is refused stays on the stack.
double CalculationVisitor::takeNumberOrLeave(ExpressionAST* node, const char* complaint)
{
    const double number = at(node, [&] { return numberOrThrow(valueStack.top(), complaint); });
    valueStack.pop();
    return number;
}

TracePoint CalculationVisitor::takePoint()
{
    const TracePoint point = valueStack.top().getTracePoint();
    valueStack.pop();
    return point;
}

Matrix CalculationVisitor::takeMatrix()
{
    const Matrix matrix = valueStack.top().getMatrix();
    valueStack.pop();
    return matrix;
}

} // namespace Marl
