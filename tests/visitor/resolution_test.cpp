// The resolution pass: what it binds, records and hands on, in which order it walks, and how it fails.
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <vector>

namespace Marl::Tests {
namespace {

class Resolution : public testing::Test {
protected:
    Resolution()
    {
        pass.setProgram(&t.program);
        pass.setParser(&parser);
    }

    void walk(ExpressionAST* expression, ObjectAST* object = nullptr, PropertyAST* property = nullptr)
    {
        pass.setObject(object);
        pass.setProperty(property);
        expression->accept(&pass);
    }

    Tree t;
    FixedParser parser{nullptr};
    DecorationVisitor pass;
};

TEST_F(Resolution, BindsReferencesByName)
{
    ObjectAST* lamp = t.program.addObject("lamp");
    PropertyAST* unnamed = lamp->addProperty(nullptr, t.node(0));
    PropertyAST* Power = lamp->addProperty("Power", t.node(1));
    PropertyAST* power = lamp->addProperty("power", t.node(2));
    PropertyAST* empty = lamp->addProperty("", t.node(3));
    lamp->addProperty("power", t.node(4));
    lamp->addProperty(nullptr, t.node(5));
    PropertyAST* other = t.program.addObject("Lamp")->addProperty("power", t.node(6));
    t.program.addObject("lamp")->addProperty("late", t.node(7));
    PropertyAST* nameless = t.program.addObject("")->addProperty("power", t.node(8));

    const struct {
        const char* object;
        const char* property;
        PropertyAST* bound;
        const char* failure;
    } rows[] = {
        {"lamp", "power", power, nullptr}, // the first of two
        {"lamp", "Power", Power, nullptr},
        {"Lamp", "power", other, nullptr},
        {"lamp", nullptr, unnamed, nullptr},
        {"lamp", "", empty, nullptr},
        {"", "power", nameless, nullptr},
        {"lamp", "late", nullptr, "Could not find late property of object lamp"}, // the first of two objects
        {"lamp", "pow", nullptr, "Could not find pow property of object lamp"},
        {"Lamp", nullptr, nullptr, "Could not find  property of object Lamp"},
        {"lmap", "power", nullptr, "Could not find lmap object."},
        {"lmap", nullptr, nullptr, "Could not find lmap object."},
        {nullptr, "power", nullptr, "Could not find  object."},
    };
    for (const auto& row : rows) {
        auto* reference = t.reference(row.object, row.property);
        const std::string failure = messageOf<BadRefException>([&] { walk(reference); });
        EXPECT_EQ(failure, row.failure ? row.failure : "no failure");
        EXPECT_EQ(reference->property, row.bound) << failure;
    }
}

TEST_F(Resolution, RecordsReferrersNewestFirst)
{
    ObjectAST* lamp = t.program.addObject("lamp");
    PropertyAST* power = lamp->addProperty("power", t.node(1));
    ObjectAST* rig = t.program.addObject("rig");
    PropertyAST* sway = rig->addProperty("sway", t.sum(t.reference("lamp", "power"), t.reference("lamp", "power")));
    PropertyAST* glow = lamp->addProperty("glow", t.reference("lamp", "power"));
    walk(sway->expression, rig, sway);
    walk(glow->expression, lamp, glow);
    walk(glow->expression, lamp, sway); // as the pass was told, and not deduplicated

    std::vector<std::pair<ObjectAST*, PropertyAST*>> found;
    for (const PropertyReferrer* r = power->referrers; r; r = r->next)
        found.emplace_back(r->object, r->property);
    EXPECT_EQ(found, (decltype(found){{lamp, sway}, {lamp, glow}, {rig, sway}, {rig, sway}}));
    EXPECT_EQ(sway->referrers, nullptr);
}

TEST_F(Resolution, WalksChildrenInOrder)
{
    const auto child = [&](char letter) { return t.traced(letter, t.node(1)); };
    ExpressionAST *const a = child('a'), *const b = child('b'), *const c = child('c'), *const d = child('d');
    const auto call = [&](int argCount) {
        auto* made = t.call(Builtin::Time, {a, nullptr, c, d});
        made->argCount = argCount;
        return made;
    };
    t.program.addObject("lamp")->addProperty("power", child('p'));
    const struct {
        const char* name;
        ExpressionAST* expression;
        const char* trail;
    } rows[] = {
        {"binary and negated", t.sum(t.negated(a), b), "ab"},
        {"list and transform", t.list({t.xform(a, b), c}), "abc"},
        {"neither vector nor color", t.vec(a, b, c, ValueType(99)), "abc"},
        {"color with alpha", t.rgba(a, b, c, d), "abcd"},
        {"matrix", t.mat(a, b, c), "abc"},
        {"target before indices", t.element(a, {b, c}), "abc"},
        {"time before value", t.keys({{a, b}, {c, d}}), "abcd"},
        {"call without arguments", call(0), ""},
        {"an empty argument is stepped over", call(3), "ac"},
        {"never more than four", call(9), "acd"},
        {"a reference's target has its own turn", t.reference("lamp", "power"), ""},
        {"a node reached twice", t.sum(a, a), "aa"},
    };
    for (const auto& row : rows) {
        t.trail.clear();
        walk(row.expression);
        EXPECT_EQ(t.trail, row.trail) << row.name;
    }
}

TEST_F(Resolution, HandsTheParserOn)
{
    auto* object = t.program.make<ObjectReferenceAST>();
    auto* runtime = t.program.make<RuntimeValueAST>();
    ExpressionAST* both = t.list({object, runtime});
    walk(both);
    EXPECT_EQ(object->parser, &parser);
    EXPECT_EQ(runtime->parser, &parser);
    DecorationVisitor without;
    both->accept(&without);
    EXPECT_EQ(object->parser, nullptr);
    EXPECT_EQ(runtime->parser, nullptr);
}

TEST_F(Resolution, AFailureLeavesWhatWasWalkedBefore)
{
    PropertyAST* power = t.program.addObject("lamp")->addProperty("power", t.node(1));
    auto* good = t.reference("lamp", "power");
    auto* noObject = t.reference("lmap", "power");
    auto* noProperty = t.reference("lamp", "pwoer");
    noObject->property = noProperty->property = power;
    EXPECT_THROW(walk(t.list({good, noObject, t.reference("lamp", "power")})), BadRefException);
    try {
        walk(noProperty, nullptr, power);
        ADD_FAILURE();
    } catch (const BadRefException& failure) {
        EXPECT_EQ(failure.node(), noProperty);
        EXPECT_EQ(failure.property(), power);
    }
    EXPECT_EQ(good->property, power);
    EXPECT_EQ(noObject->property, power);
    EXPECT_EQ(noProperty->property, nullptr);
    ASSERT_NE(power->referrers, nullptr);
    EXPECT_EQ(power->referrers->next, nullptr);
}

TEST_F(Resolution, NoticesWhatIsMissing)
{
    const char* incomplete = "Expression is incomplete.";
    ExpressionAST* const rows[] = {
        t.sum(nullptr, 1),        t.sum(1, nullptr),       t.negated(nullptr),      t.vec(1, nullptr, 3),
        t.rgba(1, 2, 3, nullptr), t.mat(1, 2, nullptr),    t.xform(nullptr, 1),     t.xform(1, nullptr),
        t.list({nullptr}),        t.element(nullptr, {1}), t.element(1, {nullptr}), t.keys({{nullptr, 1}}),
        t.keys({{1, nullptr}}),
    };
    for (ExpressionAST* row : rows)
        EXPECT_EQ(messageOf([&] { walk(row); }), incomplete) << "row " << &row - rows;
    DecorationVisitor withoutProgram;
    EXPECT_EQ(messageOf([&] { t.reference("a", "b")->accept(&withoutProgram); }), incomplete);
}

} // namespace
} // namespace Marl::Tests
