// Several evaluators over one tree, all of them meeting everything for the first time at once.
// The thread sanitizer watches these; the fake stream notices readers who cut in.
#include <tests/support/compiled.h>
#include <tests/support/evaluations.h>

#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <set>
#include <thread>
#include <typeindex>
#include <vector>

namespace Marl::Tests {
namespace {

constexpr int threads = 8;

// None of the threads starts before the last one is there.
void onAllThreads(const std::invocable<int> auto& action)
{
    std::barrier start(threads);
    std::vector<std::jthread> running;
    for (int i = 0; i < threads; ++i)
        running.emplace_back([&, i] {
            start.arrive_and_wait();
            action(i);
        });
}

// The first test of this program, for a process builds its noise tables once.
TEST(Evaluators, MeetTheFirstNoiseTogether)
{
    onAllThreads([](int) { EXPECT_EQ(CalculationVisitor().noise({1, 2, 3}), 0x1.b74ff2p-3f); });
}

struct Resolved : Evaluations {
    Resolved()
    {
        std::erase_if(rows, [&](auto& row) { return messageOf<Exception>([&] { resolve(row); }) != "no failure"; });
    }
};

TEST(Evaluators, SeeTheSameTreeAsOneAlone)
{
    std::set<std::type_index> kinds;
    for (const Evaluation& row : Resolved().rows)
        kinds.insert(typeid(*row.expression));
    EXPECT_EQ(kinds.size(), 22u);

    for (int round = 0; round < 500 && !HasFailure(); ++round) {
        Resolved scene;
        ExpressionAST* const clock = scene.t.call(Builtin::Time);
        onAllThreads([&](int thread) {
            // Each begins elsewhere, elsewhere in each round.
            auto rows = scene.rows;
            std::rotate(rows.begin(), rows.begin() + (thread * 5 + round) % std::ssize(rows), rows.end());
            for (const Evaluation& row : rows)
                EXPECT_EQ(resultOf(row.expression, 1), row.result) << row.name;
            EXPECT_EQ(evaluated(clock, thread).getDouble(), thread);
        });
        EXPECT_TRUE(scene.areAtRest());
        for (const auto& [stream, isKept] : scene.sources)
            EXPECT_EQ(stream.reads(), isKept ? 1 : threads);
    }
}

// Whatever is made, read or chosen at the first need is needed by all of them at once.
TEST(BatchEvaluators, OfOneProgramSeeWhatOneAloneSees)
{
    for (int round = 0; round < 20 && !HasFailure(); ++round) {
        Resolved scene;
        Expressions expressions{scene.t.call(Builtin::Time)};
        for (const Evaluation& row : scene.rows)
            expressions.push_back(row.expression);
        for (const Evaluation& row : scene.rows)
            expressions.push_back(scene.t.list({scene.t.call(Builtin::Time), row.expression}));
        const CompiledExpressions compiled(expressions);
        onAllThreads([&](int thread) {
            BatchEvaluator evaluator(compiled);
            const std::size_t rows = scene.rows.size();
            for (const std::size_t size : {1u, 40u, 300u}) {
                const Times times(size, 1);
                if (thread % 2 == 0)
                    evaluator.evaluate(times);
                for (std::size_t i = 0; i < rows; ++i) {
                    // Each begins elsewhere, elsewhere in each round.
                    const std::size_t e = (i + static_cast<std::size_t>(thread * 5 + round)) % rows;
                    const std::string& expected = scene.rows[e].result;
                    EXPECT_EQ(resultOf(evaluator, 1, e + 1), expected) << scene.rows[e].name;
                    if (thread % 2 == 0) {
                        EXPECT_EQ(resultOf(evaluator.column(e + 1), size - 1), expected) << scene.rows[e].name;
                    }
                }
                const double own = thread + 0.5;
                EXPECT_EQ(evaluator.valueAt(own, 0).getDouble(), own);
            }
            evaluator.evaluate(Times{thread + 0.5});
            EXPECT_EQ(evaluator.column(0).numbers()[0], thread + 0.5);
        });
        EXPECT_TRUE(scene.areAtRest());
    }
}

// Each thread keeps its evaluator; nobody tells it of the update but that it may go on.
TEST(BatchEvaluators, GoOnAfterAnUpdate)
{
    Tree t;
    auto* number = static_cast<NumberExpressionAST*>(t.node(0.0));
    PropertyAST* edited = t.property(number);
    Expressions expressions{t.sum(t.reference(edited), t.call(Builtin::Time)), t.list({t.reference(edited)})};
    for (ExpressionAST* expression : expressions) {
        expression->heldBy = t.property(expression);
        t.program.addReferrer(edited, nullptr, expression->heldBy);
    }
    expressions.push_back(t.product(t.call(Builtin::Time), 3));
    expressions.back()->heldBy = t.property(expressions.back());
    CompiledExpressions compiled(expressions);
    std::barrier everybody(threads);
    onAllThreads([&](int thread) {
        BatchEvaluator evaluator(compiled);
        everybody.arrive_and_wait();
        for (int round = 0; round < 200; ++round) {
            if (thread == round % threads) {
                number->number = round;
                compiled.update({{edited}});
            }
            everybody.arrive_and_wait();
            if (thread % 2 == 0) {
                evaluator.evaluate(Times{1, 2});
                EXPECT_EQ(evaluator.column(0).numbers()[1], round + 2);
                EXPECT_EQ(evaluator.column(2).numbers()[1], 6);
            }
            EXPECT_EQ(evaluator.valueAt(1, 0).getDouble(), round + 1);
            EXPECT_EQ(resultOf(evaluator, 1, 1), "[" + std::to_string(round) + "]");
            everybody.arrive_and_wait();
        }
    });
}

TEST(Evaluators, TryAgainWhereAnotherFailedToRead)
{
    for (int round = 0; round < 20; ++round) {
        Resolved scene;
        std::atomic<std::size_t> failures = 0;
        for (auto& source : scene.sources)
            source.stream.throwsAt = "read";
        onAllThreads([&](int) {
            for (const Evaluation& row : scene.rows)
                try {
                    EXPECT_EQ(resultOf(row.expression, 1), row.result) << row.name;
                } catch (const StreamBroke&) {
                    ++failures;
                }
        });
        EXPECT_EQ(failures, scene.sources.size());
    }
}

// Who comes later finds nodes made and so catches up with the first; from there on they make them
// at the same moments.
TEST(EveryNode, OfAListIsMadeOnce)
{
    constexpr int elements = 100'000;
    ListTypeExpressionAST<int> list;
    list.values.allocArray(elements);
    list.loaded = 1;
    std::vector<std::vector<ExpressionAST*>> found(threads);
    onAllThreads([&](int thread) {
        for (int i = 0; i < elements; ++i)
            found[static_cast<std::size_t>(thread)].push_back(list.getElement(i));
    });
    for (const auto& nodes : found)
        EXPECT_TRUE(nodes == found[0]);
}

} // namespace
} // namespace Marl::Tests
