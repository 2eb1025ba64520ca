// Edits of an open scene, one by one: what is taken out, what is noted anew, and how it fails.
#include <tests/support/host_node.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>
#include <tests/support/wrappings.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Marl::Tests {
namespace {

class Edit : public testing::Test {
protected:
    Edit() { pass.setProgram(&t.program); }

    PropertyAST* add(const char* name, const Operand& expression)
    {
        PropertyAST* added = lamp->addProperty(name, t.node(expression));
        changed(added);
        return added;
    }
    std::string changed(PropertyAST* property)
    {
        return messageOf<Exception>([&] { pass.changed(property); });
    }
    PropertyReferenceAST* reference(const char* property) { return t.reference("lamp", property); }

    static std::string result(PropertyAST* property, double time = 0) { return resultOf(property->expression, time); }
    static int referrers(const PropertyAST* property)
    {
        int count = 0;
        for (const PropertyReferrer* record = property->referrers; record; record = record->next)
            ++count;
        return count;
    }

    Tree t;
    DecorationVisitor pass;
    ObjectAST* lamp = t.program.addObject("lamp");
};

TEST_F(Edit, TakesOutWhatIsThereAndNothingElse)
{
    ListExpressionAST* list = nullptr;
    InterpolateExpressionAST* keys = nullptr;
    const struct {
        int index;
        const char* items; // after the removal, and after another item is appended
        bool isThere = true;
    } rows[] = {
        {0, "[1, 2, 9]"}, {1, "[0, 2, 9]"}, {2, "[0, 1, 9]"}, {3, "[0, 1, 2, 9]", false}, {-1, "[0, 1, 2, 9]", false},
    };
    for (const auto& row : rows) {
        list = t.list({0, 1, 2});
        keys = t.keys({{0, 0}, {1, 1}, {2, 2}});
        keys->sortKeys();
        EXPECT_EQ(messageOf([&] { t.program.remove(list, row.index); }),
                  row.isThere ? "no failure" : "The list has no such item to remove.");
        EXPECT_EQ(messageOf([&] { t.program.remove(keys, row.index); }),
                  row.isThere ? "no failure" : "The interpolation has no such key to remove.");
        EXPECT_EQ(keys->constantTimes().keys.empty(), row.isThere);
        EXPECT_EQ(keys->keyCount, row.isThere ? 2 : 3);
        t.program.append(list, t.node(9));
        t.program.append(keys, t.node(9), t.node(9));
        EXPECT_EQ(resultOf(list), row.items);
        auto* values = t.list({});
        for (const InterpolateKey* key = keys->firstKey; key; key = key->next)
            t.program.append(values, key->value);
        EXPECT_EQ(resultOf(values), row.items);
    }
    PropertyAST* power = lamp->addProperty("power", t.node(1));
    PropertyAST byHand{"hand", nullptr, nullptr, nullptr};
    power->next = &byHand;
    ObjectAST* rig = t.program.addObject("rig");
    PropertyAST* sway = rig->addProperty("sway", nullptr);
    Tree other;
    const auto noProperty = "The property to remove is not in the scene.";
    EXPECT_EQ(messageOf([&] { other.program.remove(power); }), noProperty);
    EXPECT_EQ(messageOf([&] { other.program.remove(lamp); }), "The object to remove is not in the scene.");
    t.program.remove(&byHand);
    t.program.remove(power);
    t.program.remove(rig);
    for (PropertyAST* gone : {&byHand, power, sway, static_cast<PropertyAST*>(nullptr)})
        EXPECT_EQ(messageOf([&] { t.program.remove(gone); }), noProperty);
    EXPECT_EQ(messageOf([&] { t.program.remove(rig); }), "The object to remove is not in the scene.");
    EXPECT_EQ(lamp->firstProperty, nullptr);
    EXPECT_EQ(t.program.lastObject, lamp);
}

// Each of the records out, of names some of which come twice: along the chain the names are found as they stand.
TEST_F(Edit, FindsTheNextOfAName)
{
    const std::vector<const char*> names = {"a", "b", "a", nullptr, "b", "a", nullptr, "c"};
    for (std::size_t step = 1; step < names.size(); step += 2) { // coprime, so that every record has its turn
        Tree tree;
        std::vector<PropertyAST*> chain;
        ObjectAST* object = tree.program.addObject("o");
        for (const char* name : names)
            chain.push_back(object->addProperty(name, nullptr));
        for (std::size_t at = 0; !chain.empty(); at += step) {
            const auto gone = chain.begin() + static_cast<std::ptrdiff_t>(at % chain.size());
            tree.program.remove(*gone);
            chain.erase(gone);
            for (const char* name : {"a", "b", "c", static_cast<const char*>(nullptr)}) {
                const auto first = std::ranges::find_if(chain, [&](PropertyAST* p) { return p->name == name; });
                EXPECT_EQ(object->getProperty(name), first == chain.end() ? nullptr : *first);
            }
            EXPECT_EQ(object->lastProperty, chain.empty() ? nullptr : chain.back());
        }
    }
}

TEST_F(Edit, BindsReferencesToWhatIsThereNow)
{
    PropertyAST* first = add("power", 1);
    PropertyAST* second = add("power", 2);
    PropertyAST* user = add("user", t.list({reference("power"), reference("power")}));
    PropertyAST* missing = add("missing", t.list({reference("nothing"), reference("power")}));
    const auto expect = [&](const char* value, const char* alsoBehind) {
        EXPECT_EQ(result(user), value);
        EXPECT_EQ(resultOf(t.element(missing->expression, {1})), alsoBehind);
    };
    expect("[1, 1]", "1");
    EXPECT_EQ(referrers(first), 3);

    t.program.remove(first);
    EXPECT_EQ(referrers(first), 3) << "until they are bound anew";
    EXPECT_THAT(t.program.dependents(first), testing::UnorderedElementsAre(user, missing));
    EXPECT_EQ(changed(first), "Could not find nothing property of object lamp") << "noted anew with its failure";
    expect("[2, 2]", "2");
    EXPECT_EQ(referrers(first), 0);
    EXPECT_EQ(referrers(second), 3);

    second->name = "nothing";
    lamp->lastProperty = nullptr;
    EXPECT_EQ(changed(second), "Could not find power property of object lamp");
    expect("fails: Property reference is not bound.", "fails: Property reference is not bound.");
    EXPECT_EQ(referrers(second), 1) << "from [nothing], which was walked anew";

    PropertyAST* third = add("power", 3);
    EXPECT_EQ(referrers(third), 0) << "what found nothing has no record";
    EXPECT_EQ(changed(user), "no failure");
    EXPECT_EQ(changed(missing), "no failure");
    EXPECT_EQ(result(user), "[3, 3]");
    EXPECT_EQ(result(missing), "[2, 3]");

    // One that comes before it by a new name hides it.
    second->name = "power";
    lamp->lastProperty = nullptr;
    EXPECT_EQ(changed(second), "Could not find nothing property of object lamp");
    expect("[2, 2]", "2");
    EXPECT_EQ(referrers(third), 0);

    t.program.remove(lamp);
    EXPECT_EQ(changed(second), "no failure") << "who referred to it is out of the scene too";
}

TEST_F(Edit, WalksAgainWithoutDoublingRecords)
{
    PropertyAST* power = add("power", 1);
    PropertyAST* user = add("user", t.sum(reference("power"), reference("power")));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(changed(user), "no failure");
    EXPECT_EQ(referrers(power), 2);
    user->expression->accept(&pass); // told of no property
    EXPECT_EQ(referrers(power), 4);
    user->expression = t.negated(reference("power"));
    EXPECT_EQ(changed(user), "no failure");
    EXPECT_EQ(referrers(power), 3) << "and the two of nobody";
    EXPECT_EQ(power->referrers->property, user);
    EXPECT_EQ(user->expression->heldBy, user);
}

TEST_F(Edit, SortsKeysAsIfTheyHadBeenWrittenSo)
{
    PropertyAST* start = add("start", 5);
    const auto startAt = [&](const Operand& expression) {
        start->expression = t.node(expression);
        changed(start);
    };
    PropertyAST* between = add("between", t.negated(t.negated(reference("start"))));
    auto* keys = t.keys({{reference("between"), 10}, {0, 20}, {2, 30}, {0, 40}});
    PropertyAST* curve = add("curve", keys);
    const auto order = [&] {
        std::string values;
        for (const InterpolateKey* key = keys->firstKey; key; key = key->next)
            values += resultOf(key->value) + " ";
        return values;
    };
    EXPECT_EQ(order(), "20 40 30 10 ");
    startAt(1);
    EXPECT_EQ(order(), "20 40 10 30 ");
    EXPECT_EQ(result(curve, 1.5), "20");
    startAt(t.call(Builtin::Time));
    EXPECT_EQ(order(), "10 20 30 40 ") << "not constant, so as written";
    EXPECT_TRUE(keys->constantTimes().keys.empty());
    startAt(0);
    EXPECT_EQ(order(), "10 20 40 30 ");
    startAt(3);
    t.program.append(keys, t.node(0), t.node(50));
    InterpolateKey byHand{.time = t.node(0), .value = t.node(60)};
    byHand.next = keys->firstKey->next; // behind 20
    keys->firstKey->next = &byHand;
    changed(curve);
    EXPECT_EQ(order(), "20 60 40 50 30 10 ");
    t.program.remove(keys, 2);
    EXPECT_EQ(result(curve, 2.5), "20");
    startAt(t.call(Builtin::Time));
    EXPECT_EQ(order(), "10 20 60 30 50 ") << "the appended one comes last";
    t.program.remove(between);
    EXPECT_EQ(changed(between), "Could not find between property of object lamp");
    EXPECT_EQ(order(), "10 20 60 30 50 ");
    std::swap(keys->firstKey->value, keys->firstKey->next->value);
    EXPECT_EQ(t.program.dependents(start).size(), 0u);
    t.program.remove(keys, 2); // which is on this test's stack
}

TEST_F(Edit, MakesElementsOfDataListsAnew)
{
    auto* numbers = t.program.make<ListTypeExpressionAST<float>>();
    auto* points = t.program.make<ListTypeExpressionAST<Vector>>();
    numbers->loaded = points->loaded = 1;
    numbers->values = listOf<float>({1, 2, 3}).getListFloat();
    points->values = listOf<Vector>({{1, 2, 3}}).getListVector();
    numbers->hostData = 7;
    PropertyAST* data = add("data", t.list({numbers, points}));
    PropertyAST* user =
        add("user", t.list({t.element(reference("data"), {0, 2}), t.element(reference("data"), {1, 0, 2})}));
    EXPECT_EQ(result(user), "[3, 3]");
    ExpressionAST* const third = numbers->getElement(2);
    EXPECT_EQ(third->hostData, 7u);
    EXPECT_EQ(points->getElement(0)->getElement(1)->heldBy, data);

    numbers->values.data[2] = 4;
    points->values.data[0].z = 5;
    EXPECT_EQ(changed(data), "no failure");
    EXPECT_EQ(result(user), "[4, 5]");
    EXPECT_EQ(numbers->getElement(2), third) << "what was handed out lives on";
    for (const auto& [count, shown] : {std::pair(1, "fails: Array index is out of range."),
                                       {5, "[0, 5]"},
                                       {0, "fails: Array index is out of range."}}) {
        numbers->values.allocArray(count);
        std::fill_n(numbers->values.data, count, 0.0f);
        EXPECT_EQ(changed(data), "no failure");
        EXPECT_EQ(result(user), shown);
    }
}

TEST_F(Edit, ThrowsTheFirstFailureWhenEverythingElseIsDone)
{
    PropertyAST* power = add("power", 2);
    auto* caught = t.program.make<HostNode>();
    auto* lost = reference("lost");
    caught->script = [&](Visitor& visitor) { messageOf<Exception>([&] { lost->accept(&visitor); }); };
    auto* other = t.keys({{3, 1}, {nullptr, 2}, {0, 3}});
    PropertyAST* wrong =
        lamp->addProperty("wrong", t.list({caught, nullptr, reference("wrong name"), other, reference("power")}));
    EXPECT_EQ(changed(wrong), "Expression is incomplete.");
    EXPECT_EQ(referrers(power), 1);
    EXPECT_EQ(changed(wrong), "Expression is incomplete.");
    EXPECT_EQ(referrers(power), 1);
    wrong->expression = t.list({caught, reference("power")});
    EXPECT_EQ(changed(wrong), "no failure") << "a host's node may catch";
    wrong->expression = nullptr;
    EXPECT_EQ(changed(wrong), "Expression is incomplete.");
    EXPECT_EQ(referrers(power), 0);
    EXPECT_EQ(messageOf([&] { DecorationVisitor().changed(wrong); }), "Expression is incomplete.");
    EXPECT_EQ(changed(nullptr), "Expression is incomplete.");
    EXPECT_TRUE(t.program.dependents(nullptr).empty());
}

TEST_F(Edit, OfDeepTreesKeepToTheLimitOfThePass)
{
    PropertyAST* power = add("power", 2);
    PropertyAST* user = add("user", 1);
    for (const Wrapping& wrapping : wrappings) {
        auto* innermost = reference("power");
        user->expression = nested(t, wrapping, 10'000, innermost);
        EXPECT_EQ(changed(user), "no failure") << wrapping.name;
        EXPECT_EQ(changed(user), "no failure") << wrapping.name;
        EXPECT_EQ(innermost->property, power) << wrapping.name;
        EXPECT_EQ(referrers(power), 1) << wrapping.name;
        user->expression = wrapping.around(t, user->expression);
        EXPECT_EQ(changed(user), "Expression is nested too deeply.") << wrapping.name;
        EXPECT_EQ(referrers(power), 0) << wrapping.name;
        EXPECT_EQ(innermost->property, nullptr) << wrapping.name;
    }
    ExpressionAST* deep = user->expression;
    auto* behind = reference("power");
    user->expression = t.sum(behind, behind);
    EXPECT_EQ(changed(user), "no failure");
    user->expression = t.sum(deep, behind);
    EXPECT_EQ(changed(user), "Expression is nested too deeply.");
    EXPECT_EQ(behind->property, nullptr) << "nothing behind it is walked";
    EXPECT_EQ(referrers(power), 0);
    NegatedExpressionAST* circle = t.negated(nullptr);
    circle->operand = t.sum(circle, circle); // of which there is no end
    user->expression = t.sum(behind, circle);
    EXPECT_EQ(changed(user), "Expression is nested too deeply.");
    EXPECT_EQ(behind->property, power);
    user->expression = t.node(1);
    EXPECT_EQ(changed(user), "no failure");

    PropertyAST* last = power;
    for (int i = 0; i < 100'000; ++i) {
        PropertyAST* next = t.property(t.reference(last));
        t.program.addReferrer(last, next->object, next);
        last = next;
    }
    EXPECT_EQ(t.program.dependents(power).size(), 100'000u);
    EXPECT_EQ(t.program.dependents(power).back(), last);
}

} // namespace
} // namespace Marl::Tests
