// Limits of an evaluation and its stop flag, under both evaluators.
#include <tests/support/compiled.h>
#include <tests/support/host_function.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <string>
#include <thread>
#include <vector>

namespace Marl::Tests {
namespace {

constexpr const char* tooManySteps = "Evaluation takes too many steps.";
constexpr const char* tooMuchMemory = "Values take too much memory.";
constexpr const char* stopped = "Evaluation was stopped.";
constexpr std::uint64_t megabyte = 1 << 20;

class HandingOn final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override { inner->accept(visitor); }

    ExpressionAST* inner = nullptr;
};

struct Limits : testing::Test {
    // A property that is twice the one before, so many times.
    ExpressionAST* doubled(const Operand& first, int times)
    {
        PropertyAST* property = t.property(first);
        for (int i = 0; i < times; ++i)
            property = t.property(t.sum(t.reference(property), t.reference(property)));
        return t.reference(property);
    }

    HostFunction* function(std::function<Value()> rule)
    {
        auto* made = t.program.make<HostFunction>();
        made->rule = [rule](std::span<const Value>, const Moment&) { return rule(); };
        return made;
    }

    // An evaluator with limits: 0 and null are none.
    struct Given {
        std::uint64_t steps = 0, bytes = 0;
        const std::atomic<bool>* stop = nullptr;

        void to(auto& evaluator) const
        {
            evaluator.setStepLimit(steps);
            evaluator.setMemoryLimit(bytes);
            evaluator.setStopFlag(stop);
        }
    };

    std::string walked(ExpressionAST* node, const Given& limits)
    {
        CalculationVisitor evaluator;
        limits.to(evaluator);
        const std::string message = messageOf([&] { node->accept(&evaluator); });
        evaluator.setStopFlag(nullptr);
        t.sum(1, 2)->accept(&evaluator);
        EXPECT_EQ(shown(evaluator.getResult()), "3") << "the evaluator stays usable";
        return message;
    }

    std::string compiled(ExpressionAST* node, const Given& limits)
    {
        const CompiledExpressions both(Expressions{node, t.sum(1, time)});
        BatchEvaluator evaluator(both);
        limits.to(evaluator);
        const std::string message = messageOf([&] { evaluator.valueAt(1, 0); });
        evaluator.setStopFlag(nullptr);
        EXPECT_EQ(shown(evaluator.valueAt(1, 1)), "2") << "the evaluator stays usable";
        return message;
    }

    Tree t;
    ExpressionAST* time = t.call(Builtin::Time);
    ExpressionAST* items = t.list({time, 2, 3, 4});
};

TEST_F(Limits, EndWhatTakesTooMuch)
{
    const std::string fine = "no failure", none = "";
    const auto longList = [] { return listOf<int>({1, 2, 3}); };
    std::vector<Operand> thousand(1000, 1.0);
    auto* many = t.program.make<HostFunction>();
    many->rule = [](std::span<const Value>, const Moment&) {
        ArrayHold<float> list(1'000'000);
        return Value(*list);
    };
    const struct {
        const char* name;
        ExpressionAST* expression;
        Given limits;
        std::string walked, compiled;
    } rows[] = {
        {"as many steps as operators", t.sum(t.sum(1, time), 2), {.steps = 2}, fine, fine},
        {"one step too many", t.sum(t.sum(1, time), 2), {.steps = 1}, tooManySteps, fine},
        {"numbers doubled", doubled(time, 40), {.steps = 10'000}, tooManySteps, fine},
        {"lists doubled", doubled(items, 22), {.bytes = megabyte}, tooMuchMemory, tooMuchMemory},
        {"the same by steps", doubled(items, 12), {.steps = 1000}, tooManySteps, fine},
        {"lists doubled thrice", doubled(items, 3), {.steps = 100, .bytes = megabyte}, fine, fine},
        {"long list", t.sum(t.list(thousand), 1), {.steps = 900}, tooManySteps, tooManySteps},
        {"long list by memory", t.list(thousand), {.bytes = 10'000}, tooMuchMemory, tooMuchMemory},
        {"in a host's function", t.list({many}), {.bytes = megabyte}, tooMuchMemory, tooMuchMemory},
        {"data", t.sum(sampleOf('i'), sampleOf('i')), {.bytes = 4}, tooMuchMemory, tooMuchMemory},
        {"text", t.node(sampleOf('s')), {.bytes = 1}, tooMuchMemory, tooMuchMemory},
        {"small ones", t.list({sampleOf('s'), longList()}), {.steps = 10, .bytes = 1000}, fine, fine},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(walked(row.expression, row.limits), row.walked) << row.name;
        EXPECT_EQ(compiled(row.expression, row.limits), row.compiled) << row.name;
    }
}

// Lists in the columns stay until the next batch: what comes behind the limit fails, at its time.
TEST_F(Limits, CountWhatColumnsHold)
{
    PropertyAST* const list = t.property(t.sum(t.list(std::vector<Operand>(99, 1.0)), time));
    auto* count = t.program.make<HostFunction>();
    count->rule = [](std::span<const Value> values, const Moment&) { return ArrayHold(values[0].getList())->count; };
    count->arguments = {t.reference(list)};
    const CompiledExpressions expressions(Expressions{t.reference(list), t.sum(t.reference(list), 1), count});
    BatchEvaluator evaluator(expressions);
    const Times times = scattered(1000);
    for (const bool isTight : {true, false, true}) {
        evaluator.setMemoryLimit(isTight ? megabyte : 100 * megabyte);
        evaluator.evaluate(times);
        EXPECT_FALSE(evaluator.column(0).failed(0));
        EXPECT_EQ(evaluator.column(0).failed(999), isTight);
        EXPECT_EQ(evaluator.column(1).failed(999), isTight);
    }
    const CompiledExpressions counts(Expressions{count});
    BatchEvaluator counting(counts); // what only passes by is not held
    counting.setMemoryLimit(megabyte);
    counting.evaluate(times);
    EXPECT_EQ(counting.column(0).kind(), ValueType::Double);
}

TEST_F(Limits, AStopFlagEndsWhateverGoesOn)
{
    std::atomic<bool> stop = false;
    ExpressionAST* const stopping = function([&] { return stop = true, Value(1.0); });
    ExpressionAST* wide = time;
    for (int i = 0; i < 5000; ++i)
        wide = t.sum(wide, t.product(time, i));
    const struct {
        const char* name;
        ExpressionAST* expression;
        bool isSet;
    } rows[] = {
        {"a function that is being called", t.vec(1, 2, stopping), false},
        {"numbers", doubled(time, 60), true},
        {"one large expression", wide, true},
        {"lists", doubled(items, 20), true},
    };
    for (const auto& row : rows) {
        stop = row.isSet;
        EXPECT_EQ(walked(row.expression, {.stop = &stop}), stopped) << row.name;
        stop = row.isSet;
        EXPECT_EQ(compiled(row.expression, {.stop = &stop}), stopped) << row.name;
        const CompiledExpressions batch(Expressions{time, row.expression, time});
        BatchEvaluator evaluator(batch);
        evaluator.setStopFlag(&stop);
        stop = row.isSet;
        EXPECT_EQ(messageOf([&] { evaluator.evaluate(Times{1, 2, 3}); }), stopped) << row.name;
        evaluator.setStopFlag(nullptr);
        evaluator.evaluate(Times{4, 5});
        EXPECT_EQ(evaluator.column(0).numbers()[1], 5) << row.name;
    }
}

// Eight threads of both kinds of evaluators, none of which would end.
TEST_F(Limits, OneFlagStopsManyThreads)
{
    std::atomic<bool> stop = false;
    std::atomic<int> ended = 0;
    ExpressionAST* const endless = doubled(time, 60);
    auto* const handedOn = t.program.make<HandingOn>(); // which is walked, compiled or not
    handedOn->inner = endless;
    std::barrier all(9);
    std::vector<std::jthread> running;
    for (int i = 0; i < 8; ++i)
        running.emplace_back([&, i] {
            const CompiledExpressions expressions(Expressions{handedOn});
            BatchEvaluator batch(expressions);
            CalculationVisitor walk;
            batch.setStopFlag(&stop);
            walk.setStopFlag(&stop);
            all.arrive_and_wait();
            ended += stopped == messageOf([&] { i % 2 == 0 ? endless->accept(&walk) : batch.evaluate(Times{1, 2}); });
        });
    all.arrive_and_wait();
    stop = true;
    running.clear();
    EXPECT_EQ(ended, 8);
}

} // namespace
} // namespace Marl::Tests
