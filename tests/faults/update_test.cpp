// Updates that run out of memory, and what very many of them keep.
#include <tests/faults/failing_memory.h>
#include <tests/support/compiled.h>
#include <tests/support/tree.h>

#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Marl::Tests {
namespace {

using Tests::resultOf; // of what is compiled, beside the one of a walk

#ifdef NDEBUG
constexpr int veryMany = 1'000'000;
#else
constexpr int veryMany = 20'000; // under sanitizers
#endif

// A number, and two properties that depend on it.
struct Scene {
    Tree t;
    ObjectAST* rig = t.program.addObject("rig");
    NumberExpressionAST* number = static_cast<NumberExpressionAST*>(t.node(2.0));
    std::vector<PropertyAST*> properties{rig->addProperty("number", number)};
    Expressions expressions{number};

    Scene()
    {
        add(t.sum(t.reference("rig", "number"), t.call(Builtin::Time)));
        add(t.list({t.reference("rig", "number"), t.keys({{0.0, 1.0}, {8.0, t.reference("rig", "number")}})}));
        for (PropertyAST* property : properties) {
            DecorationVisitor pass;
            pass.setProgram(&t.program);
            pass.setObject(rig);
            pass.setProperty(property);
            property->expression->accept(&pass);
        }
    }
    void add(ExpressionAST* expression)
    {
        expressions.push_back(expression);
        properties.push_back(rig->addProperty(nullptr, expression));
    }
};

TEST(OutOfMemory, LeavesWhatWasCompiledBeforeAnUpdate)
{
    const Scene warm; // what the checks themselves keep
    expectAsWalked(warm.expressions, {0});
    const int failing = atEveryAllocation([](const Shortage& shortage) {
        Scene scene;
        CompiledExpressions compiled(scene.expressions);
        BatchEvaluator evaluator(compiled);
        const auto expectNumber = [&](BatchEvaluator& by, const std::string& shown, const std::string& sum) {
            EXPECT_EQ(resultOf(by, 4, 0), shown);
            EXPECT_EQ(resultOf(by, 4, 1), sum);
        };
        expectNumber(evaluator, "2", "6");
        scene.number->number = 5;
        Outcome outcome = during(shortage, [&] { compiled.update({{scene.properties[0]}}); });
        if (outcome == Outcome::Stopped) {
            expectNumber(evaluator, "2", "6");
            BatchEvaluator fresh(compiled);
            expectNumber(fresh, "2", "6");
            compiled.update({{scene.properties[0]}});
        } else if (outcome == Outcome::NotReached) { // then what evaluators need for the new programs
            outcome = during(shortage, [&] { evaluator.evaluate(Times{4}); });
        }
        expectNumber(evaluator, "5", "9");
        expectAsWalked(evaluator, scene.expressions, {0, 4, 9});
        return outcome;
    });
    EXPECT_GT(failing, 20);
}

TEST(Memory, DoesNotGrowWithTheUpdates)
{
    Scene scene;
    for (int i = 0; i < 100; ++i)
        scene.add(scene.t.sum(scene.t.call(Builtin::Time), i));
    for (PropertyAST* property : scene.properties)
        property->expression->heldBy = property;
    CompiledExpressions compiled(scene.expressions);
    BatchEvaluator evaluator(compiled);
    const struct {
        const char* name;
        std::size_t properties; // edited in turn
        int rounds;
    } rows[] = {
        {"one property", 1, veryMany}, {"two", 2, veryMany / 10}, {"all", scene.properties.size(), veryMany / 1'000}};
    for (const auto& [name, count, rounds] : rows) {
        SCOPED_TRACE(name);
        long held = 0;
        for (int i = 0; i < rounds; ++i) {
            if (i == rounds / 10)
                held = liveBytes();
            scene.number->number = i;
            for (std::size_t p = 0; p < count; ++p)
                compiled.update({{scene.properties[p]}});
            if (i % 7 == 0) {
                ASSERT_EQ(evaluator.valueAt(0, 1).getDouble(), i);
            }
        }
        EXPECT_LT(liveBytes(), held + 20'000);
    }
}

} // namespace
} // namespace Marl::Tests
