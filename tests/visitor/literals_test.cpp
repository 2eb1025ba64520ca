// Leaves, compound literals, lists and indexing: what is evaluated when. What they come to is in
// tests/bits/table.txt.
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/value/array_hold.h>
#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

namespace Marl::Tests {
namespace {

TEST(Literals, OfAnotherKindThanVectorOrColorLeaveNothing)
{
    for (const int type : {0, 4, 6, -3, 2147483647}) {
        Tree t;
        CalculationVisitor evaluator;
        t.node(77)->accept(&evaluator);
        t.vec(t.traced('x', 1), 2, 3, ValueType(type))->accept(&evaluator);
        EXPECT_EQ(shown(evaluator.getResult()), "77");
        EXPECT_EQ(t.trail, "");
    }
}

TEST(Literals, EvaluateWhatTheyNeedAfreshFromLeftToRight)
{
    Tree t;
    const auto x = [&](char letter) { return t.traced(letter, t.list({1, t.traced('e', 2)})); };
    const std::pair<ExpressionAST*, const char*> rows[] = {
        {t.vec(x('a'), x('b'), x('c')), "aebece"},
        {t.rgba(x('a'), x('b'), x('c'), x('d')), "aebecede"},
        {t.xform(t.mat(x('a'), x('b'), x('c')), x('d')), "aebecede"},
        {t.list({x('a'), x('b')}), "aebe"},
        {t.element(x('t'), {t.traced('i', 1)}), "ite"}, // neither the target nor the other element
        {t.element(t.list({x('u'), x('v')}), {t.traced('i', 1), t.traced('j', 1)}), "ijve"},
    };
    for (const auto& [node, trail] : rows) {
        t.trail.clear();
        resultOf(node);
        resultOf(node);
        EXPECT_EQ(t.trail, std::string(trail) + trail);
    }
}

TEST(Lists, ItemsBeyondTheCountAreEvaluatedAndDropped)
{
    for (const auto& [itemCount, result] : {std::pair(1, "[1]"), {-5, "[]"}, {3, "[1, 2, undefined]"}}) {
        Tree t;
        auto* list = t.list({t.traced('a', 1), t.traced('b', 2)});
        list->itemCount = itemCount;
        EXPECT_EQ(resultOf(list), result);
        EXPECT_EQ(t.trail, "ab");
    }
}

TEST(Lists, InTheSourceAreReadOnEveryVisit)
{
    Tree t;
    SourceOwner owner;
    FakeStream stream("int[1 -2]");
    auto* list = placed(t.program.make<ListTypeExpressionAST<int>>(), owner, stream, 4, 4);
    EXPECT_EQ(resultOf(list) + resultOf(list), "int[1 -2]int[1 -2]");
    EXPECT_EQ(stream.reads(), 2);
    EXPECT_EQ(list->loaded, 0);
    list->loaded = 1;
    EXPECT_EQ(resultOf(list), "int[]");
    EXPECT_EQ(stream.reads(), 2);

    auto* inMemory = static_cast<ListTypeExpressionAST<int>*>(t.node(listOf({5})));
    const ArrayHold elements(evaluated(inMemory).getListInt());
    EXPECT_EQ(elements->data, inMemory->values.data);
}

TEST(Leaves, LookSceneObjectsUpAtEveryEvaluation)
{
    Tree t;
    Object lamp{"lamp"};
    FixedParser parser(&lamp), empty(nullptr);
    auto* object = t.program.make<ObjectReferenceAST>();
    auto* runtime = t.program.make<RuntimeValueAST>();
    ExpressionAST* both = t.list({object, runtime});
    object->parser = runtime->parser = &parser;
    EXPECT_EQ(resultOf(both), "[@nothing, @nothing.null]"); // a name without text is asked for as null
    object->objectName = runtime->objectName = "";
    runtime->propertyName = "power";
    EXPECT_EQ(resultOf(both), "[@lamp, @lamp.\"power\"]");
    object->parser = runtime->parser = &empty;
    EXPECT_EQ(resultOf(both), "[@nothing, @nothing.\"power\"]");
}

TEST(Leaves, TextsAreCopiesThatNoLaterChangeReaches)
{
    Tree t;
    SourceOwner owner;
    FakeStream stream("\"lamp\"");
    auto* text = placed(t.program.make<StringExpressionAST>(), owner, stream, 1, 4);
    auto* list = static_cast<ListTypeExpressionAST<CharString>*>(t.node(listOf<CharString>({"a", nullptr})));
    EXPECT_EQ(resultOf(t.list({text, list})), "[\"lamp\", string[\"a\", null]]");
    text->scenePath = list->scenePath = "a.scene";
    const Value value = evaluated(t.list({text, list}));
    text->text = "camp"; // written in place, for nobody else may share these buffers
    text->scenePath = "b.scene";
    list->scenePath = "";
    EXPECT_EQ(shown(value), "[\"lamp\" in \"a.scene\", string[\"a\", null] in \"a.scene\"]");
    EXPECT_EQ(resultOf(t.list({text, list})), "[\"camp\" in \"b.scene\", string[\"a\", null] in \"\"]");
    EXPECT_NE(static_cast<const char*>(evaluated(text).getString()), static_cast<const char*>(text->text));
    EXPECT_EQ(stream.reads(), 1);
}

TEST(Leaves, AReferenceIsEvaluatedAfreshAtTheTimeOfTheEvaluator)
{
    Tree t;
    PropertyAST* power = t.property(t.traced('p', t.call(Builtin::Time)));
    ExpressionAST* sum = t.sum(t.reference(power), t.reference(power));
    EXPECT_EQ(resultOf(sum, 5) + ", " + resultOf(sum, 7), "10, 14");
    EXPECT_EQ(t.trail, "pppp");
    EXPECT_EQ(resultOf(t.element(t.reference(t.property(t.list({t.vec(4, 5, 6)}))), {0, 2})), "6");
}

TEST(Evaluator, KeepsItsResultUntilTheNext)
{
    CalculationVisitor evaluator;
    EXPECT_EQ(shown(evaluator.getResult()), "undefined");
    Tree t;
    for (int i = 0; i < 100; ++i) { // results stay on the stack, which grows
        t.node(i)->accept(&evaluator);
        EXPECT_EQ(shown(evaluator.getResult()), std::to_string(i));
        EXPECT_EQ(shown(evaluator.getResult()), std::to_string(i));
    }
    ExpressionAST* sum = t.node(100);
    for (int i = 99; i >= 1; --i)
        sum = t.sum(i, sum); // holds all its left operands at once
    EXPECT_EQ(resultOf(sum), "5050");
}

} // namespace
} // namespace Marl::Tests
