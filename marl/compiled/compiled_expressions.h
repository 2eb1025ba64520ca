// Expressions prepared for being evaluated at many times, or often.
#pragma once

#include <marl/api.h>
#include <marl/ast/expression.h>

#include <cstddef>
#include <memory>
#include <span>

namespace Marl {

struct CompiledProgram;

// Made after the resolution pass:
//
//     CompiledExpressions compiled(expressions);
//     BatchEvaluator evaluator(compiled);
//     evaluator.evaluate(times);
//
// What several of the expressions refer to is computed once a time. Borrows the trees: when one changes,
// what was compiled from it is out of date. Immutable; any number of threads may evaluate it at once, each
// with an evaluator of its own. Compiling calls nothing of the host's, reads no source, and needs no stack
// that grows with the trees. Throws std::bad_alloc only: what cannot be evaluated fails when it is.
class MARL_API CompiledExpressions {
public:
    explicit CompiledExpressions(std::span<ExpressionAST* const> expressions);
    ~CompiledExpressions();
    CompiledExpressions(CompiledExpressions&&) noexcept;
    CompiledExpressions& operator=(CompiledExpressions&&) noexcept;

    // How many expressions there are.
    std::size_t size() const;

    // False when nothing that the expression needs, the host included, can differ from one time to another.
    bool variesWithTime(std::size_t expression) const;

private:
    friend class BatchEvaluator;
    std::unique_ptr<const CompiledProgram> program;
};

} // namespace Marl
