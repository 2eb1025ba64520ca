// The evaluator of compiled expressions: all of them at all times of a batch, or one at one time.
#pragma once

#include <marl/api.h>
#include <marl/compiled/column.h>
#include <marl/compiled/compiled_expressions.h>
#include <marl/value/value.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace Marl {

// For every expression and time it gives the bits, or the exception of the same class and message, that a
// fresh CalculationVisitor with the same settings gives; of a NaN neither sign nor payload counts.
//
// A host's own nodes are visited by a fresh walk: with an empty stack, without the levels and references
// around them. How often one is visited for one time is not promised.
//
// Computes in the default floating-point environment and puts the caller's back. One evaluator is used by
// one thread at a time; it keeps its memory between calls. std::bad_alloc and what a host's code throws that
// is no Exception pass through, and the evaluator stays usable; what its columns hold is then undefined.
class MARL_API BatchEvaluator {
public:
    // Borrows what was compiled; after an update of that it goes by what is new, with the settings that it has.
    explicit BatchEvaluator(const CompiledExpressions& compiled);
    ~BatchEvaluator();
    BatchEvaluator(BatchEvaluator&&) noexcept;
    BatchEvaluator& operator=(BatchEvaluator&&) noexcept;

    // As for the CalculationVisitor.
    void setDontInterpolate(unsigned int hold);
    void setDepthLimit(int levels);

    // Limits as for the CalculationVisitor, for each expression at each time. There are fewer steps: what is
    // computed for several expressions, or known when compiling, is no step of theirs, and arithmetic on known
    // kinds is none at all, for there is never more of it than the trees have nodes. Memory is that of the lists
    // and texts in all columns together. Behind evaluate() that was stopped, which throws, the columns are
    // undefined.
    void setStepLimit(std::uint64_t steps);
    void setMemoryLimit(std::uint64_t bytes);
    void setStopFlag(const std::atomic<bool>* flag);

    // All expressions at all times, which may come in any order; rising ones are fastest. Failures wait in
    // the columns.
    void evaluate(std::span<const double> times);

    // The values of expressions[expression] at the times of the last evaluate(); valid until the next one.
    const Column& column(std::size_t expression) const;

    // One expression at one time, without a column; throws what the walk throws. The columns stay.
    Value valueAt(double time, std::size_t expression);

private:
    class Machine;
    class Machines;
    std::unique_ptr<Machines> machines;
};

} // namespace Marl
