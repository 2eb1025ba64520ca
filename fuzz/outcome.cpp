#include <fuzz/outcome.h>

#include <fuzz/same_bits.h>

#include <host/output/value_text.h>
#include <host/report/kind_text.h>

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>

namespace Marl::Fuzz {

namespace {

template <typename Evaluate>
std::string failureOf(Evaluate evaluate)
{
    try {
        evaluate();
    } catch (const InvalidOpException& failure) {
        return failure.what();
    }
    return {};
}

void describe(const char* who, const Outcome& outcome)
{
    fmt::print(stderr, "{}: {}, then {} on top: {}\n", who, outcome.failure.empty() ? "no failure" : outcome.failure,
               Host::kindWithArticle(outcome.top.getValueType()), Host::valueText(outcome.top));
}

} // namespace

Outcome outcomeOf(ReferenceWalk& walk, ExpressionAST* root)
{
    std::string failure = failureOf([&] { walk.evaluate(root); });
    return {std::move(failure), walk.stack.empty() ? Value() : walk.stack.back()};
}

Outcome outcomeOf(CalculationVisitor& evaluator, ExpressionAST* root)
{
    std::string failure = failureOf([&] { root->accept(&evaluator); });
    return {std::move(failure), evaluator.getResult()};
}

Outcome outcomeOf(const Column& column, std::size_t i)
{
    Value value;
    std::string failure = failureOf([&] { value = column.valueAt(i); });
    return {std::move(failure), value};
}

Outcome outcomeOf(BatchEvaluator& evaluator, double time, std::size_t expression)
{
    Value value;
    std::string failure = failureOf([&] { value = evaluator.valueAt(time, expression); });
    return {std::move(failure), value};
}

bool isOfSurroundings(std::string_view failure)
{
    return failure == "Expression is nested too deeply." || failure == "Property references form a cycle.";
}

void expectSame(const char* evaluator, const Outcome& outcome, const Outcome& expected)
{
    if (outcome.failure == expected.failure && sameBits(outcome.top, expected.top))
        return;
    describe("the plain walk", expected);
    describe(evaluator, outcome);
    std::abort();
}

} // namespace Marl::Fuzz
