// Edited trees: what was updated beside what is compiled from the beginning, and beside the walk.
#include <tests/support/compiled.h>
#include <tests/support/tree.h>

#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

namespace Marl::Tests {
namespace {

const Times times = {-1, 0.25, 0.5, 3, 3, 7.75};

// One object whose properties may refer to each other by name.
struct Scene {
    Tree t;
    ObjectAST* rig = t.program.addObject("rig");
    std::vector<PropertyAST*> properties;

    PropertyAST* add(const Operand& expression)
    {
        const std::string name = "p" + std::to_string(properties.size());
        return properties.emplace_back(rig->addProperty(name.c_str(), t.node(expression)));
    }
    PropertyReferenceAST* reference(std::size_t property)
    {
        return t.reference("rig", ("p" + std::to_string(property)).c_str());
    }
    void resolve(PropertyAST* property)
    {
        DecorationVisitor pass;
        pass.setProgram(&t.program);
        pass.setObject(rig);
        pass.setProperty(property);
        if (property->expression)
            property->expression->accept(&pass);
    }
    void resolveAll()
    {
        for (PropertyAST* property : properties)
            resolve(property);
    }
    Expressions expressions() const
    {
        Expressions all;
        for (const PropertyAST* property : properties)
            all.push_back(property->expression);
        return all;
    }
};

void expectSame(const CompiledExpressions& updated, BatchEvaluator& evaluator, const Expressions& expressions,
                const Settings& settings = {})
{
    expectAsWalked(evaluator, expressions, times, settings);
    const CompiledExpressions anew(expressions);
    BatchEvaluator fresh(updated), other(anew);
    other.setDepthLimit(settings.depthLimit);
    other.setDontInterpolate(settings.hold ? 1 : 0);
    other.evaluate(times);
    ASSERT_EQ(updated.size(), expressions.size());
    for (std::size_t e = 0; e < expressions.size(); ++e) {
        ASSERT_EQ(updated.variesWithTime(e), anew.variesWithTime(e)) << e;
        ASSERT_EQ(evaluator.column(e).kind(), other.column(e).kind()) << e;
        for (std::size_t i = 0; i < times.size(); ++i)
            ASSERT_EQ(resultOf(evaluator.column(e), i), resultOf(other.column(e), i)) << e << " at " << times[i];
    }
    expectAsWalked(fresh, expressions, times, settings);
}

// An expression of any kind, mostly one that can be computed, over other properties.
struct Random {
    Scene& scene;
    std::mt19937 dice;

    std::size_t below(std::size_t count) { return dice() % count; }
    double number() { return static_cast<double>(below(40)) / 8 - 1; }
    ExpressionAST* expression(int depth = 3)
    {
        Tree& t = scene.t;
        const auto part = [&] { return expression(depth - 1); };
        switch (depth == 0 ? below(3) : below(14)) {
        case 0: return t.node(number());
        case 1: return t.call(Builtin::Time);
        case 2:
        case 3: return scene.reference(below(24));
        case 4: return t.sum(part(), part());
        case 5: return t.product(part(), part());
        case 6: return t.negated(part());
        case 7: return t.vec(part(), number(), part());
        case 8: return t.rgb(part(), part(), number());
        case 9: return t.keys({{0.0, part()}, {1.0, part()}, {4.0, part()}});
        case 10: return t.keys({{0.0, number()}, {scene.reference(below(24)), part()}});
        case 11: return t.element(t.list({part(), part()}), {part()});
        case 12: return t.call(Builtin::Sin, {part()});
        default: return t.list({part(), number()});
        }
    }
};

TEST(Updates, GiveWhatIsCompiledAnew)
{
    for (unsigned seed = 0; seed < 12 && !HasFailure(); ++seed) {
        Scene scene;
        Random random{scene, std::mt19937(seed)};
        constexpr std::size_t count = 24;
        for (std::size_t i = 0; i < count; ++i)
            scene.add(i < 8 ? scene.t.node(random.number()) : random.expression());
        scene.resolveAll();
        CompiledExpressions compiled(scene.expressions());
        BatchEvaluator evaluator(compiled);
        for (int round = 0; round < 25 && !HasFailure(); ++round) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
            std::vector<PropertyAST*> edited;
            for (std::size_t edits = 1 + random.below(3); edits > 0; --edits) {
                PropertyAST* property = scene.properties[random.below(count)];
                auto* number = dynamic_cast<NumberExpressionAST*>(property->expression);
                if (number && random.below(2) == 0)
                    number->number = random.number();
                else
                    property->expression = random.below(20) == 0 ? nullptr : random.expression();
                edited.push_back(property);
            }
            scene.resolveAll(); // times of keys are noted where they changed
            compiled.update(edited);
            if (random.below(3) == 0)
                continue; // several updates before anybody looks
            expectSame(compiled, evaluator, scene.expressions(),
                       {random.below(2) == 0, random.below(2) == 0 ? 5 : 10'000});
        }
    }
}

TEST(Updates, AreSeenInWhatEveryEditReaches)
{
    struct Edited : Scene {
        NumberExpressionAST* two = static_cast<NumberExpressionAST*>(t.node(2.0));
        PropertyAST* number = add(two);                                              // p0
        PropertyAST* twice = add(t.product(reference(0), 2.0));                      // p1
        PropertyAST* chain = add(t.sum(reference(1), t.call(Builtin::Time)));        // p2
        PropertyAST* other = add(t.vec(1, 2, t.call(Builtin::Time)));                // p3
        BinaryExpressionAST* part = t.sum(reference(2), 1.0);                        // of p4
        PropertyAST* list = add(t.list({part, 7.0}));                                // p4
        PropertyAST* keys = add(t.keys({{0.0, 1.0}, {reference(0), reference(2)}})); // p5
        ExpressionAST* alone = t.sum(t.node(1.0), t.call(Builtin::Time));            // in no property

        void replace(PropertyAST* property, const Operand& expression) { property->expression = t.node(expression); }
    };
    using Edit = std::vector<PropertyAST*> (*)(Edited&);
    const struct {
        const char* name;
        Edit edit;
    } rows[] = {
        // clang-format off
        {"a number",                  [](Edited& s) { s.two->number = 5; return std::vector{s.number}; }},
        {"a number becomes the time", [](Edited& s) { s.replace(s.number, s.t.call(Builtin::Time)); return std::vector{s.number}; }},
        {"the time becomes a number", [](Edited& s) { s.replace(s.chain, 4.0); return std::vector{s.chain}; }},
        {"another kind",              [](Edited& s) { s.replace(s.twice, s.t.vec(1, 2, 3)); return std::vector{s.twice}; }},
        {"what fails",                [](Edited& s) { s.replace(s.twice, s.t.element(s.t.list({1.0}), {5.0})); return std::vector{s.twice}; }},
        {"nothing",                   [](Edited& s) { s.replace(s.number, nullptr); return std::vector{s.number}; }},
        {"a circle",                  [](Edited& s) { s.replace(s.number, s.reference(2)); return std::vector{s.number}; }},
        {"itself",                    [](Edited& s) { s.replace(s.chain, s.t.sum(s.reference(2), 1)); return std::vector{s.chain}; }},
        {"the old one as a part",     [](Edited& s) { s.replace(s.twice, s.t.sum(s.twice->expression, 1)); return std::vector{s.twice}; }},
        {"below a part",              [](Edited& s) { s.part->right = s.t.node(50.0); return std::vector{s.part->heldBy}; }},
        {"a part to another property", [](Edited& s) { s.replace(s.list, 1.0); s.replace(s.other, s.t.negated(s.part)); return std::vector{s.list, s.other}; }},
        {"in no property",            [](Edited& s) { static_cast<BinaryExpressionAST*>(s.alone)->op = TOKEN_MINUS; return std::vector<PropertyAST*>{}; }},
        {"the same twice, and none",  [](Edited& s) { s.replace(s.number, 9.0); return std::vector<PropertyAST*>{s.number, nullptr, s.number}; }},
        // clang-format on
    };
    for (const auto& first : rows)
        for (const auto& second : rows) {
            SCOPED_TRACE(std::string(first.name) + ", then " + second.name);
            Edited scene;
            scene.resolveAll();
            const auto expressions = [&] {
                Expressions all = scene.expressions();
                all.insert(all.end(), {scene.part, scene.alone, nullptr, scene.number->expression});
                return all;
            };
            CompiledExpressions compiled(expressions());
            BatchEvaluator evaluator(compiled);
            evaluator.evaluate(times);
            for (const auto& row : {first, second}) {
                const std::string before = resultOf(evaluator.column(2), 0);
                const std::vector<PropertyAST*> edited = row.edit(scene);
                scene.resolveAll();
                compiled.update(edited);
                EXPECT_EQ(resultOf(evaluator.column(2), 0), before);
                for (std::size_t e = 0; e < expressions().size(); ++e) // before any batch
                    EXPECT_EQ(resultOf(evaluator, 2, e), walked(expressions()[e], 2)) << e;
                EXPECT_EQ(resultOf(evaluator.column(2), 0), before) << "the columns stay";
                expectSame(compiled, evaluator, expressions());
            }
        }
}

// Who is not affected is not even read: a tree that is broken there shows what it was.
TEST(Updates, LeaveTheRestAlone)
{
    Scene scene;
    auto* number = static_cast<NumberExpressionAST*>(scene.t.node(1.0));
    PropertyAST* edited = scene.add(number);
    scene.add(scene.t.sum(scene.reference(0), 1));
    // Larger than what is joined with an update.
    ExpressionAST* large = scene.t.call(Builtin::Time);
    for (int i = 0; i < 2'000; ++i)
        large = scene.t.sum(large, 1);
    auto* outermost = static_cast<BinaryExpressionAST*>(large);
    scene.add(large);
    scene.resolveAll();
    CompiledExpressions compiled(scene.expressions());
    BatchEvaluator evaluator(compiled);
    outermost->op = TOKEN_MINUS; // and nobody says so
    number->number = 5;
    compiled.update({{edited}});
    EXPECT_EQ(resultOf(evaluator, 1, 1), "6");
    EXPECT_EQ(resultOf(evaluator, 1, 2), "2001");
    compiled.update({{scene.properties[2]}});
    EXPECT_EQ(resultOf(evaluator, 1, 2), "1999");
}

TEST(Updates, ReachTheEndOfALongChainWithoutAStack)
{
    constexpr std::size_t length = 100'000;
    Scene scene;
    auto* number = static_cast<NumberExpressionAST*>(scene.t.node(1.0));
    scene.add(number);
    for (std::size_t i = 0; i + 1 < length; ++i)
        scene.add(scene.reference(i));
    scene.resolveAll();
    CompiledExpressions compiled(scene.expressions());
    BatchEvaluator evaluator(compiled);
    number->number = 5;
    compiled.update({{scene.properties[0]}});
    EXPECT_EQ(resultOf(evaluator, 0, 9'000), "5");
    EXPECT_EQ(resultOf(evaluator, 0, length - 1), "fails: Expression is nested too deeply.");
}

} // namespace
} // namespace Marl::Tests
