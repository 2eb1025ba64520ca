#include <fuzz/outcome.h>

#include <fuzz/same_bits.h>

#include <host/output/value_text.h>
#include <host/report/kind_text.h>

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace Marl::Fuzz {

namespace {

// Of a circle any of its references may be named.
std::string detailsOf(const Exception& failure)
{
    const bool isCircle = std::string_view(failure.what()) == "Property references form a cycle.";
    const auto kind = [](std::optional<ValueType> given) { return given ? static_cast<int>(*given) : -1; };
    return fmt::format("node {}, kinds {} and {}, element {} of {}, byte {}",
                       failure.node() && !isCircle ? failure.node()->hostData : 0, kind(failure.leftKind()),
                       kind(failure.rightKind()), failure.index(), failure.count(), failure.byte());
}

template <typename Evaluate>
Outcome outcomeOf(Evaluate evaluate)
{
    try {
        return {"", evaluate(), ""};
    } catch (const InvalidOpException& failure) {
        return {failure.what(), Value(), detailsOf(failure)};
    }
}

void describe(const char* who, const Outcome& outcome)
{
    fmt::print(stderr, "{}: {} ({}), then {} on top: {}\n", who,
               outcome.failure.empty() ? "no failure" : outcome.failure, outcome.details,
               Host::kindWithArticle(outcome.top.getValueType()), Host::valueText(outcome.top));
}

} // namespace

Outcome outcomeOf(ReferenceWalk& walk, ExpressionAST* root)
{
    const std::string failure = outcomeOf([&] { return walk.evaluate(root), Value(); }).failure;
    return {failure, walk.stack.empty() ? Value() : walk.stack.back(), ""};
}

Outcome outcomeOf(CalculationVisitor& evaluator, ExpressionAST* root)
{
    Outcome outcome = outcomeOf([&] { return root->accept(&evaluator), Value(); });
    outcome.top = evaluator.getResult();
    return outcome;
}

Outcome outcomeOf(const Column& column, std::size_t i)
{
    return outcomeOf([&] { return column.valueAt(i); });
}

Outcome outcomeOf(BatchEvaluator& evaluator, double time, std::size_t expression)
{
    return outcomeOf([&] { return evaluator.valueAt(time, expression); });
}

bool isOfSurroundings(std::string_view failure)
{
    return failure == "Expression is nested too deeply." || failure == "Property references form a cycle.";
}

void expectSame(const char* evaluator, const Outcome& outcome, const Outcome& expected)
{
    const bool sayAlike = outcome.details.empty() || expected.details.empty() || outcome.details == expected.details;
    if (outcome.failure == expected.failure && sayAlike && sameBits(outcome.top, expected.top))
        return;
    describe("the plain walk", expected);
    describe(evaluator, outcome);
    std::abort();
}

} // namespace Marl::Fuzz
