// What came of an evaluation, so that those of two evaluators can be compared.
#pragma once

#include <fuzz/reference_walk.h>

#include <marl/marl.h>

#include <string>
#include <string_view>

namespace Marl::Fuzz {

struct Outcome {
    std::string failure;      // its message, or nothing
    Value top;                // of the stack: the result, or what a failure left there
    std::string details = {}; // what else the failure says, where it was asked: the number of its node, ...
};

Outcome outcomeOf(ReferenceWalk& walk, ExpressionAST* root); // throws ReferenceWalk::TooMuchWork
Outcome outcomeOf(CalculationVisitor& evaluator, ExpressionAST* root);

// Of what is compiled, which leaves nothing where it fails.
Outcome outcomeOf(const Column& column, std::size_t i);
Outcome outcomeOf(BatchEvaluator& evaluator, double time, std::size_t expression);

// Whether a failure comes from the levels and references around a node. Those around a host's node do not count
// in what it leads to once it is compiled.
bool isOfSurroundings(std::string_view failure);

// Ends the process where they differ in failure, kind or bits, and says so.
void expectSame(const char* evaluator, const Outcome& outcome, const Outcome& expected);

} // namespace Marl::Fuzz
