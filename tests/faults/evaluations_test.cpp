// Evaluations that are stopped, by memory that runs out or by a source that fails, and repeated.
#include <tests/faults/failing_memory.h>
#include <tests/support/compiled.h>
#include <tests/support/evaluations.h>
#include <tests/support/shown.h>

#include <marl/visitor/calculation_visitor.h>

#include <algorithm>
#include <climits>
#include <exception>
#include <optional>
#include <string>

namespace Marl::Tests {
namespace {

using Tests::resultOf; // of what is compiled, beside the one of a walk

// Resolves and evaluates. Only a failure that says what is wrong with the expression comes back.
std::exception_ptr attempt(Evaluations& scene, const Evaluation& row, CalculationVisitor& evaluator)
{
    evaluator.setTimeParam(1);
    try {
        scene.resolve(row);
        row.expression->accept(&evaluator);
    } catch (const Exception&) {
        return std::current_exception();
    }
    return nullptr;
}

std::string resultOf(const CalculationVisitor& evaluator, const std::exception_ptr& failure)
{
    if (failure)
        return "fails: " + messageOf<Exception>([&] { std::rethrow_exception(failure); });
    return shown(evaluator.getResult());
}

// Calls with the index of every evaluation.
void forEveryEvaluation(const std::invocable<std::size_t> auto& action)
{
    for (std::size_t i = 0, count = Evaluations().rows.size(); i < count; ++i) {
        SCOPED_TRACE(Evaluations().rows[i].name); // whose own memory is no leak of the action
        action(i);
    }
}

TEST(OutOfMemory, StopsAnEvaluationThatCanBeRepeated)
{
    int failing = 0;
    forEveryEvaluation([&](std::size_t i) {
        failing += atEveryAllocation([i](const Shortage& shortage) {
            Evaluations scene;
            const Evaluation& row = scene.rows[i];
            CalculationVisitor evaluator;
            std::exception_ptr failure;
            const Outcome outcome = during(shortage, [&] { failure = attempt(scene, row, evaluator); });
            if (outcome == Outcome::Stopped)
                EXPECT_TRUE(row.mayLeave(shown(evaluator.getResult()))) << shown(evaluator.getResult());
            else
                EXPECT_EQ(resultOf(evaluator, failure), row.result);
            EXPECT_TRUE(scene.areAtRest());
            EXPECT_EQ(resultOf(evaluator, attempt(scene, row, evaluator)), row.result);
            return outcome;
        });
    });
    EXPECT_GT(failing, 0);
}

// Every expression beside the time, at one time among others, in the ways in which memory may run out: while
// compiling, in a batch, and alone. What ran out of memory is repeated, and right then.
TEST(OutOfMemory, StopsCompiledExpressionsThatCanBeUsedAgain)
{
    enum class Stage { Compiling, Batch, Alone };
    const Times times = {1, 0, 2, 1};
    int failing = 0;
    forEveryEvaluation([&](std::size_t i) {
        for (const Stage stage : {Stage::Compiling, Stage::Batch, Stage::Alone})
            failing += atEveryAllocation([&](const Shortage& shortage) {
                Evaluations scene;
                const Evaluation& row = scene.rows[i];
                if (messageOf<Exception>([&] { scene.resolve(row); }) != "no failure")
                    return Outcome::NotReached;
                ExpressionAST* const time = scene.t.call(Builtin::Time);
                const Expressions expressions{row.expression, scene.t.list({time, row.expression}), time};
                const auto expectRight = [&](BatchEvaluator& evaluator) {
                    EXPECT_EQ(resultOf(evaluator, 1, 0), row.result);
                    evaluator.evaluate(times);
                    EXPECT_EQ(resultOf(evaluator.column(0), 0), row.result);
                    EXPECT_EQ(resultOf(evaluator.column(0), 3), row.result);
                    EXPECT_EQ(resultOf(evaluator.column(2), 2), "2");
                };
                std::optional<CompiledExpressions> compiled;
                std::optional<BatchEvaluator> evaluator;
                Value alone; // or the message of its failure
                if (stage != Stage::Compiling)
                    compiled.emplace(expressions);
                if (stage == Stage::Alone)
                    evaluator.emplace(*compiled);
                const Outcome outcome = during(shortage, [&] {
                    if (stage == Stage::Compiling)
                        compiled.emplace(expressions);
                    if (stage == Stage::Batch)
                        evaluator.emplace(*compiled).evaluate(times);
                    if (stage == Stage::Alone)
                        try {
                            alone = evaluator->valueAt(1, 0);
                        } catch (const InvalidOpException& failure) {
                            alone = failure.message;
                        }
                });
                EXPECT_TRUE(scene.areAtRest());
                if (outcome != Outcome::Stopped && stage == Stage::Batch) {
                    EXPECT_EQ(resultOf(evaluator->column(0), 0), row.result);
                }
                if (outcome != Outcome::Stopped && stage == Stage::Alone) {
                    EXPECT_TRUE(shown(alone) == row.result
                                || row.result == "fails: " + std::string(alone.getString()));
                }
                if (!compiled)
                    compiled.emplace(expressions);
                if (!evaluator)
                    evaluator.emplace(*compiled);
                expectRight(*evaluator);
                BatchEvaluator another(*compiled);
                expectRight(another);
                return outcome;
            });
    });
    EXPECT_GT(failing, 0);
}

TEST(Streams, ThatThrowAreAskedAgain)
{
    int broke = 0;
    forEveryEvaluation([&](std::size_t i) {
        for (const char* place : {"tell", "seek", "read", "seek back"}) {
            Evaluations scene;
            const Evaluation& row = scene.rows[i];
            SCOPED_TRACE(place);
            for (auto& source : scene.sources)
                source.stream.throwsAt = place;
            CalculationVisitor evaluator;
            for (bool isDone = false; !isDone;) {
                try {
                    EXPECT_EQ(resultOf(evaluator, attempt(scene, row, evaluator)), row.result);
                    isDone = true;
                } catch (const StreamBroke&) {
                    ++broke;
                    EXPECT_TRUE(row.mayLeave(shown(evaluator.getResult()))) << shown(evaluator.getResult());
                }
                EXPECT_TRUE(scene.areAtRest());
            }
        }
    });
    EXPECT_GT(broke, 0);
}

TEST(Streams, ThatThrowAreAskedAgainByWhatIsCompiled)
{
    int broke = 0;
    for (const char* place : {"tell", "seek", "read", "seek back"}) {
        Evaluations scene;
        std::erase_if(scene.rows, [&](const Evaluation& row) {
            return messageOf<Exception>([&] { scene.resolve(row); }) != "no failure";
        });
        Expressions expressions;
        for (const Evaluation& row : scene.rows)
            expressions.push_back(row.expression);
        const CompiledExpressions compiled(expressions);
        BatchEvaluator evaluator(compiled);
        for (auto& source : scene.sources)
            source.stream.throwsAt = place;
        for (bool isDone = false; !isDone;) {
            try {
                evaluator.evaluate(Times{1, 1});
                isDone = true;
            } catch (const StreamBroke&) {
                ++broke;
            }
            EXPECT_TRUE(scene.areAtRest());
        }
        for (std::size_t e = 0; e < expressions.size(); ++e)
            EXPECT_EQ(resultOf(evaluator.column(e), 1), scene.rows[e].result) << scene.rows[e].name;
    }
    EXPECT_GT(broke, 0);
}

// A text that ends early is a shorter text and stays one. Data that end early are none, and
// what was read of them is not kept.
TEST(Streams, ThatEndEarlyGiveNoHalfOfData)
{
    forEveryEvaluation([](std::size_t i) {
        for (const int missing : {1, 2, 3, 120}) {
            Evaluations scene(missing);
            const Evaluation& row = scene.rows[i];
            SCOPED_TRACE(missing);
            CalculationVisitor evaluator;
            const std::string early = resultOf(evaluator, attempt(scene, row, evaluator));
            for (auto& source : scene.sources)
                source.stream.givesAtMost = INT_MAX;
            const std::string late = resultOf(evaluator, attempt(scene, row, evaluator));
            if (dynamic_cast<StringExpressionAST*>(row.expression) && scene.reads() > 0) {
                const auto given = static_cast<std::size_t>(std::max(4 - missing, 0));
                EXPECT_EQ(early, "\"" + std::string("lamp", given) + "\" in \"c.scene\"");
                EXPECT_EQ(late, early);
            } else {
                EXPECT_TRUE(scene.reads() == 0 ? early == row.result : early.starts_with("fails: Expected "))
                    << early;
                EXPECT_EQ(late, row.result);
            }
            EXPECT_TRUE(scene.areAtRest());
        }
    });
}

} // namespace
} // namespace Marl::Tests
