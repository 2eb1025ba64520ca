#include <marl/ast/function_expression.h>

#include <marl/ast/visitor.h>
#include <marl/value/detail/failures.h>

namespace Marl {

void Visitor::visitFunctionExpression(FunctionExpressionAST* node)
{
    for (ExpressionAST* argument : node->arguments) {
        if (!argument)
            failIncomplete();
        argument->accept(this);
    }
}

} // namespace Marl
