// Evaluations that are stopped, by memory that runs out or by a source that fails, and repeated.
#include <tests/faults/failing_memory.h>
#include <tests/support/evaluations.h>
#include <tests/support/shown.h>

#include <marl/visitor/calculation_visitor.h>

#include <algorithm>
#include <climits>
#include <exception>
#include <string>

namespace Marl::Tests {
namespace {

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
