// Walking trees without recursion, so that a tree of any depth can be walked.
#pragma once

#include <marl/marl.h>

#include <vector>

namespace Marl::Host {

// Appends the nodes below this one in the order of the text; of a reference there are none.
void appendChildren(ExpressionAST* node, std::vector<ExpressionAST*>& children);

// Calls `look` for the node and every node below it, in the order of the text.
template <typename Look>
void walk(ExpressionAST* root, Look look)
{
    std::vector<ExpressionAST*> waiting, children;
    if (root)
        waiting.push_back(root);
    while (!waiting.empty()) {
        ExpressionAST* node = waiting.back();
        waiting.pop_back();
        look(node);
        children.clear();
        appendChildren(node, children);
        waiting.insert(waiting.end(), children.rbegin(), children.rend());
    }
}

} // namespace Marl::Host
