// Failures that say at which node they happened.
#pragma once

#include <marl/ast/expression.h>
#include <marl/value/exceptions.h>

namespace Marl {

// Does the work for a node. What fails in it names the node, unless one further in is named already.
template <typename Work>
decltype(auto) at(ExpressionAST* node, Work&& work)
{
    try {
        return work();
    } catch (Exception& failure) {
        failure.happenedAt(node, node->heldBy);
        throw;
    }
}

} // namespace Marl
