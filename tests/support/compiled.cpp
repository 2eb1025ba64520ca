#include <tests/support/compiled.h>

#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/value/exceptions.h>
#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <concepts>
#include <limits>
#include <ostream>
#include <set>

namespace Marl::Tests {

namespace {

// What was computed, or how it failed.
struct Outcome {
    std::string result;
    std::string details; // of a failure

    bool operator==(const Outcome&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Outcome& outcome)
    {
        return out << outcome.result << " " << outcome.details;
    }
};

Outcome outcomeOf(const std::invocable auto& evaluate)
try {
    return {shown(evaluate()), ""};
} catch (const InvalidOpException& failure) {
    return {"fails: " + std::string(failure.what()), detailsOf(failure)};
} catch (const BadRefException& failure) {
    return {"fails to refer: " + std::string(failure.what()), detailsOf(failure)};
}

Outcome outcomeOf(ExpressionAST* node, double time, const Settings& settings)
{
    return outcomeOf([&] {
        CalculationVisitor walk;
        walk.setTimeParam(time);
        walk.setDontInterpolate(settings.hold ? 1 : 0);
        walk.setDepthLimit(settings.depthLimit);
        if (!node)
            throw InvalidOpException("Expression is incomplete.");
        node->accept(&walk);
        return walk.getResult();
    });
}

Outcome outcomeOf(const Column& column, std::size_t i)
{
    return outcomeOf([&] { return column.valueAt(i); });
}

Outcome outcomeOf(BatchEvaluator& evaluator, double time, std::size_t expression)
{
    return outcomeOf([&] { return evaluator.valueAt(time, expression); });
}

bool isFailure(const std::string& result)
{
    return result.starts_with("fails");
}

// A typed column is empty or says the same as the values.
void expectSpan(const Column& column, const auto& span, ValueType kind)
{
    ASSERT_EQ(span.size(), column.kind() == kind ? column.size() : 0) << static_cast<int>(kind);
    for (std::size_t i = 0; i < span.size(); ++i)
        ASSERT_EQ(shown(Value(span[i])), resultOf(column, i)) << "in the typed column at " << i;
}

void expectKind(const Column& column)
{
    std::set<int> kinds;
    for (std::size_t i = 0; i < column.size(); ++i)
        kinds.insert(column.failed(i) ? -1 : column.valueAt(i).getValueType());
    const bool hasKind = kinds.size() == 1 && !kinds.contains(-1);
    if (!kinds.contains(0)) { // which may be a value, or that there is none
        EXPECT_EQ(column.kind().has_value(), hasKind);
    }
    if (column.kind()) {
        EXPECT_TRUE(hasKind && kinds.contains(static_cast<int>(*column.kind())));
    }

    expectSpan(column, column.numbers(), ValueType::Double);
    expectSpan(column, column.vectors(), ValueType::Vector);
    expectSpan(column, column.colors(), ValueType::Color);
    expectSpan(column, column.acolors(), ValueType::AColor);
    expectSpan(column, column.matrices(), ValueType::Matrix);
    expectSpan(column, column.transforms(), ValueType::Transform);
}

} // namespace

const std::vector<std::size_t> batchSizes = {1,  2,  15,  16,  17,  31,  32,  33,  63,
                                             64, 65, 127, 128, 129, 255, 256, 257, 1000};

std::string walked(ExpressionAST* node, double time, const Settings& settings)
{
    return outcomeOf(node, time, settings).result;
}

std::string resultOf(const Column& column, std::size_t i)
{
    return outcomeOf(column, i).result;
}

std::string resultOf(BatchEvaluator& evaluator, double time, std::size_t expression)
{
    return outcomeOf(evaluator, time, expression).result;
}

Times scattered(std::size_t count)
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    constexpr double special[] = {-0.0, inf, std::numeric_limits<double>::quiet_NaN(), -inf, 0.0, 5e-324, 1e300};
    Times times;
    for (std::size_t i = 0; i < count; ++i)
        times.push_back(i % 5 == 3 ? special[i / 5 % std::size(special)]
                                   : static_cast<double>(i * 37 % 101) / 8 - 4); // from -4 to 8.5
    return times;
}

void expectAsWalked(BatchEvaluator& evaluator, const Expressions& expressions, const Times& times,
                    const Settings& settings)
{
    evaluator.setDontInterpolate(settings.hold ? 1 : 0);
    evaluator.setDepthLimit(settings.depthLimit);
    evaluator.evaluate(times); // before the walk, which may keep what it reads
    for (std::size_t e = 0; e < expressions.size(); ++e) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, testing::Message() << "expression " << e);
        const Column& column = evaluator.column(e);
        ASSERT_EQ(column.size(), times.size());
        for (std::size_t i = 0; i < times.size(); ++i) {
            const Outcome expected = outcomeOf(expressions[e], times[i], settings);
            ASSERT_EQ(outcomeOf(column, i), expected) << "at " << times[i] << ", " << i << " of " << times.size();
            ASSERT_EQ(column.failed(i), isFailure(expected.result));
            if (i < 20) {
                ASSERT_EQ(outcomeOf(evaluator, times[i], e), expected) << "alone at " << times[i];
            }
        }
        expectKind(column);
    }
}

void expectAsWalked(const Expressions& expressions, const Times& times, const Settings& settings)
{
    const CompiledExpressions compiled(expressions);
    BatchEvaluator evaluator(compiled);
    expectAsWalked(evaluator, expressions, times, settings);
}

} // namespace Marl::Tests
