// Expressions prepared for being evaluated at many times, or often.
#pragma once

#include <marl/api.h>
#include <marl/ast/expression.h>

#include <cstddef>
#include <memory>
#include <span>

namespace Marl {

struct Compilation;

// Made after the resolution pass:
//
//     CompiledExpressions compiled(expressions);
//     BatchEvaluator evaluator(compiled);
//     evaluator.evaluate(times);
//
// What several of the expressions refer to is computed once a time. Borrows the trees: when one changes,
// what was compiled from it is out of date until update() is told. Between updates any number of threads may
// evaluate it at once, each with an evaluator of its own. Compiling calls nothing of the host's, reads no source, and
// needs no stack that grows with the trees. Throws std::bad_alloc only: what cannot be evaluated fails when it is.
class MARL_API CompiledExpressions {
public:
    explicit CompiledExpressions(std::span<ExpressionAST* const> expressions);
    ~CompiledExpressions();
    CompiledExpressions(CompiledExpressions&&) noexcept;
    CompiledExpressions& operator=(CompiledExpressions&&) noexcept;

    // After an edit, and after the resolution pass over what was edited: compiles anew the expressions of these
    // properties and of all that depend on them, as PropertyAST::referrers say. It takes about the time
    // that compiling these expressions alone would take, whatever else there is; sometimes a few hundred
    // microseconds more, see below.
    //
    // Whose tree has changed is to be among the properties, as is each from which a node was moved to another one;
    // a node that stands in several belongs to the last that was resolved. An expression that was the whole of its
    // property is from now on whatever the property has; others stay the same node. Those that no property holds
    // are always compiled anew, so they had better be few.
    //
    // One thread updates, while nobody evaluates. Evaluators need not be told: their next call goes by the new
    // state, and until then the columns of the last evaluate() stay. On std::bad_alloc all is as it was.
    //
    // What was updated is in programs of its own: values that it shares with other expressions are computed again
    // there. Small programs are joined as they come, so that their number stays small beside that of the updates;
    // still, once much of a scene was updated bit by bit, a batch takes a few times as long as after compiling all
    // anew.
    void update(std::span<PropertyAST* const> edited);

    // How many expressions there are.
    std::size_t size() const;

    // False when nothing that the expression needs, the host included, can differ from one time to another.
    bool variesWithTime(std::size_t expression) const;

private:
    friend class BatchEvaluator;
    std::unique_ptr<Compilation> compilation;
};

} // namespace Marl
