// A host's own node, which does to its visitor what the test says.
#pragma once

#include <marl/ast/expression.h>

#include <functional>

namespace Marl::Tests {

class HostNode final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override { script(*visitor); }
    ExpressionAST* getElement(int index) override { return elements ? elements(index) : nullptr; }

    std::function<void(Visitor&)> script = [](Visitor&) {};
    std::function<ExpressionAST*(int)> elements;
};

} // namespace Marl::Tests
