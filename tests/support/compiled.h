// Compiled expressions beside the walk, which says what they come to.
#pragma once

#include <marl/ast/expression.h>
#include <marl/compiled/batch_evaluator.h>

#include <string>
#include <vector>

namespace Marl::Tests {

using Expressions = std::vector<ExpressionAST*>;
using Times = std::vector<double>;

struct Settings {
    bool hold = false;
    int depthLimit = 10'000;
};

// What a fresh walk with these settings gives: shown as text, or "fails: " and the message.
std::string walked(ExpressionAST* node, double time, const Settings& settings = {});

// The same of a column at one of its times, and of an evaluator at one time.
std::string resultOf(const Column& column, std::size_t i);
std::string resultOf(BatchEvaluator& evaluator, double time, std::size_t expression);

// The lengths at which a block of any usual width has a beginning, a middle or an end.
extern const std::vector<std::size_t> batchSizes;

// Some times in no order, special ones among them, as many as wanted.
Times scattered(std::size_t count);

// Evaluates at all times at once and expects of every column what the walk gives, said in every way in
// which a column says it; then the same of a few single times.
void expectAsWalked(BatchEvaluator& evaluator, const Expressions& expressions, const Times& times,
                    const Settings& settings = {});
void expectAsWalked(const Expressions& expressions, const Times& times, const Settings& settings = {});

} // namespace Marl::Tests
