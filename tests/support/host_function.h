// A host's function that does what the test says.
#pragma once

#include <marl/ast/function_expression.h>

#include <functional>
#include <utility>

namespace Marl::Tests {

class HostFunction final : public FunctionExpressionAST {
public:
    Value call(std::span<const Value> values, const Moment& moment) override { return rule(values, moment); }
    bool isPure() const override { return pure; }
    std::optional<FunctionKinds> kinds() const override { return declared; }
    bool callBlock(const FunctionBlock& block) override
    {
        if (blockRule)
            blockRule(block);
        return blockRule != nullptr;
    }

    std::function<Value(std::span<const Value>, const Moment&)> rule;
    std::function<void(const FunctionBlock&)> blockRule;
    std::optional<FunctionKinds> declared;
    bool pure = false;
};

} // namespace Marl::Tests
