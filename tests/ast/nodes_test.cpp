// What nodes do by themselves: elements, the order of keys, and chains of items and objects.
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

namespace Marl::Tests {
namespace {

// The elements from the first on, and the failure behind the last.
std::string elementsOf(ExpressionAST* node)
{
    std::string all;
    const std::string failure = messageOf([&] {
        for (int i = 0; i < 9; ++i)
            all += resultOf(node->getElement(i)) + " | ";
    });
    return all + failure;
}

TEST(Elements, AreWhatANodeIsMadeOf)
{
    Tree t;
    Value texts = listOf<CharString>({"one", nullptr});
    texts.setScenePath("a.scene");
    PropertyAST* chain = t.property(t.list({7}));
    for (int i = 0; i < 100'000; ++i)
        chain = t.property(t.reference(chain));
    const auto circleOf = [&](int size) {
        PropertyAST* last = t.property(0);
        PropertyAST* first = last;
        for (int i = 1; i < size; ++i)
            first = t.property(t.reference(first));
        last->expression = t.reference(first);
        return first;
    };
    const std::string outside = "Array index is out of range.";
    const std::string none = "Expression cannot be indexed.", cycle = "Property references form a cycle.";
    const struct {
        const char* name;
        ExpressionAST* node;
        std::string elements;
    } rows[] = {
        // clang-format off
        {"list",             t.list({10, t.list({20})}),             "10 | [20] | " + outside},
        {"vector",           t.vec(1, 2, 0.1),                       "1 | 2 | 0.1 | " + outside},
        {"color, alpha",     t.rgba(1, 2, 3, 4),                     "1 | 2 | 3 | 4 | " + outside},
        {"matrix",           t.mat(t.vec(1, 2, 3), 4, t.vec(5, 6, 7)), "vec(1 2 3) | 4 | vec(5 6 7) | " + outside},
        {"transform",        t.xform(5, t.vec(1, 2, 3)),             "5 | vec(1 2 3) | " + outside},
        {"vectors",          t.node(listOf<Vector>({{0.1f, 2, 3}})), "vec(0.10000000149011612 2 3) | " + outside},
        {"colors",           t.node(listOf<Color>({{0.1f, 2, 3}})),  "rgb(0.1 2 3) | " + outside},
        {"integers",         t.node(listOf({1, -2147483647})),       "1 | -2147483647 | " + outside},
        {"floats",           t.node(listOf({0.1f})),                 "0.10000000149011612 | " + outside},
        {"no floats",        t.node(listOf<float>({})),              outside},
        {"texts",            t.node(texts),                          R"("one" in "a.scene" | null in "a.scene" | )" + outside},
        {"by reference",     t.reference(t.property(t.reference(t.property(t.vec(7, 8, 9))))), "7 | 8 | 9 | " + outside},
        {"a long way",       t.reference(chain),                     "7 | " + outside},
        {"number",           t.node(1),                              none},
        {"operator",         t.sum(t.list({1}), 2),                  none},
        {"interpolation",    t.keys({{0, t.list({1})}}),             none},
        {"text",             t.node(sampleOf('s')),                  none},
        {"number elsewhere", t.reference(t.property(5)),             none},
        {"itself",           t.reference(circleOf(1)),               cycle},
        {"one of ten",       t.reference(circleOf(10)),              cycle},
        {"way to a circle",  t.reference(t.property(t.reference(t.property(t.reference(circleOf(3)))))), cycle},
        // clang-format on
    };
    for (const auto& row : rows) {
        EXPECT_EQ(elementsOf(row.node), row.elements) << row.name;
        for (const int index : {-1, INT_MIN, INT_MAX}) {
            const std::string failure = messageOf([&] { row.node->getElement(index); });
            EXPECT_TRUE(row.elements.ends_with(failure)) << row.name << " at " << index << ": " << failure;
        }
    }
}

TEST(Keys, AreSortedByConstantTimes)
{
    Tree t;
    PropertyAST* two = t.property(t.sum(1, 1));
    PropertyAST* viaTwo = t.property(t.negated(t.reference(two)));
    PropertyAST* self = t.property(0);
    self->expression = t.reference(self);
    ExpressionAST* thousandSteps = t.node(-9); // the number included, so it comes to 9
    for (int i = 1; i < 1000; ++i)
        thousandSteps = t.negated(thousandSteps);
    const double inf = HUGE_VAL, nan = std::nan("");
    const struct {
        const char* name;
        std::vector<Operand> times;
        const char* order; // the keys by their written places
        bool sorted = true;
    } rows[] = {
        {"numbers", {3, 1, 2}, "120"},
        {"equal times keep their order", {1, 0, 1, 0, 1}, "13024"},
        {"infinities", {inf, 0, -inf}, "210"},
        {"negated", {t.negated(1), t.negated(t.negated(1)), t.negated(2)}, "201"},
        {"operators", {t.product(2, 5), t.quotient(1, 4), t.sum(1, 1), t.difference(1, 4)}, "3120"},
        {"references", {3, t.reference(two), t.reference(viaTwo)}, "210"},
        {"no keys", {}, "", false},
        {"a thousand steps", {0, thousandSteps, -1}, "201"},
        {"a thousand and one", {0, t.negated(thousandSteps), -1}, "012", false},
        {"a number hidden in it", {3, t.sum(1, t.traced('t', 1))}, "01", false},
        {"not a number", {3, nan, 1}, "012", false},
        {"another operator", {3, t.binary(1, 12, 1)}, "01", false},
        {"unbound", {3, t.reference("a", "b")}, "01", false},
        {"a circle", {3, t.reference(self), 1}, "012", false},
        {"a missing operand", {3, t.sum(nullptr, 1)}, "01", false},
        {"a property without expression", {3, t.reference(t.property(nullptr))}, "01", false},
    };
    for (const auto& [name, times, order, sorted] : rows) {
        auto* keys = t.keys({});
        for (const Operand& time : times)
            t.program.append(keys, t.node(time), t.node(keys->keyCount));
        keys->sortKeys();
        std::string found;
        InterpolateKey* last = nullptr;
        for (InterpolateKey* key = keys->firstKey; key; key = key->next) {
            found += resultOf(key->value);
            last = key;
        }
        EXPECT_EQ(found, order) << name;
        EXPECT_EQ(keys->lastKey, last) << name;
        EXPECT_EQ(keys->constantTimes().times.size(), sorted ? times.size() : 0) << name;
    }
    EXPECT_EQ(t.trail, "") << "nothing is evaluated";
}

template <typename Record>
std::vector<Record*> chainFrom(Record* first)
{
    std::vector<Record*> chain;
    for (; first; first = first->next)
        chain.push_back(first);
    return chain;
}

// What a host may do by hand to a chain of four records, with another one of its own.
template <typename Record>
struct Relinking {
    const char* name;
    void (*relink)(Record*& first, Record*& last, Record* own);
};

template <typename Record>
const Relinking<Record> relinkings[] = {
    // clang-format off
    {"nothing",                       [](Record*&, Record*&, Record*) {}},
    {"another behind the last",       [](Record*& first, Record*&, Record* own) { chainFrom(first).back()->next = own; }},
    {"another before the first",      [](Record*& first, Record*&, Record* own) { own->next = first; first = own; }},
    {"none left",                     [](Record*& first, Record*&, Record*) { first = nullptr; }},
    {"only the first left",           [](Record*& first, Record*&, Record*) { first->next = nullptr; }},
    {"the first out",                 [](Record*& first, Record*&, Record*) { first = first->next; }},
    {"another in place of all",       [](Record*& first, Record*&, Record* own) { first = own; }},
    {"two left, the end told",        [](Record*& first, Record*& last, Record*) { last = first->next; last->next = nullptr; }},
    {"two left, the end not told",    [](Record*& first, Record*& last, Record*) { first->next->next = last = nullptr; }},
    {"another in place of two",       [](Record*& first, Record*& last, Record* own) { first->next->next = last = own; }},
    {"another between",               [](Record*& first, Record*& last, Record* own) { own->next = first->next; first->next = own; last = nullptr; }},
    {"the third out",                 [](Record*& first, Record*& last, Record*) { first->next->next = first->next->next->next; last = nullptr; }},
    // clang-format on
};

TEST(Program, AppendsBehindWhatWasLinkedByHand)
{
    for (const auto& [name, relink] : relinkings<ListItem>) {
        Tree t;
        auto* list = t.list({0, 1, 2, 3});
        ListItem own;
        relink(list->firstItem, list->lastItem, &own);
        auto expected = chainFrom(list->firstItem);
        for (const int twice : {1, 2}) {
            t.program.append(list, t.node(9));
            expected.push_back(list->lastItem);
            EXPECT_EQ(chainFrom(list->firstItem), expected) << name;
            EXPECT_EQ(list->itemCount, 4 + twice);
        }
    }
}

// By the definition: along the chain.
template <typename Record>
Record* firstOf(const std::vector<Record*>& chain, const char* name)
{
    const auto found = std::ranges::find_if(chain, [&](const Record* record) { return record->name == name; });
    return found == chain.end() ? nullptr : *found;
}

TEST(Program, FindsNamesInChainsLinkedByHand)
{
    constexpr const char* names[] = {"a", "b", "c", "d", "", "x"};
    for (const auto& [name, relink] : relinkings<PropertyAST>) {
        ProgramAST program;
        ObjectAST* object = program.addObject("o");
        for (const char* property : {"a", "b", static_cast<const char*>(nullptr), "b"})
            object->addProperty(property, nullptr);
        const auto expectAllFound = [&, row = name](const std::vector<PropertyAST*>& chain) {
            EXPECT_EQ(chainFrom(object->firstProperty), chain) << row;
            for (const char* wanted : names)
                EXPECT_EQ(object->getProperty(wanted), firstOf(chain, wanted)) << row << ": " << wanted;
            EXPECT_EQ(object->getProperty(nullptr), firstOf(chain, nullptr)) << row;
        };
        PropertyAST own{"b", nullptr, nullptr, nullptr};
        relink(object->firstProperty, object->lastProperty, &own);
        auto chain = chainFrom(object->firstProperty);
        expectAllFound(chain);
        for (const char* property : {"c", "d"}) {
            chain.push_back(object->addProperty(property, nullptr));
            expectAllFound(chain);
        }
        object->firstProperty->name = "x";
        object->lastProperty = nullptr;
        expectAllFound(chain);
    }
    for (const auto& [name, relink] : relinkings<ObjectAST>) {
        ProgramAST program;
        for (const char* object : {"a", "b", static_cast<const char*>(nullptr), "b"})
            program.addObject(object);
        ObjectAST own(program, "b");
        relink(program.firstObject, program.lastObject, &own);
        auto chain = chainFrom(program.firstObject);
        for (const char* object : {"c", "d"}) {
            for (const char* wanted : names)
                EXPECT_EQ(program.getObject(wanted), firstOf(chain, wanted)) << name << ": " << wanted;
            EXPECT_EQ(program.getObject(nullptr), nullptr);
            chain.push_back(program.addObject(object));
            EXPECT_EQ(chainFrom(program.firstObject), chain) << name;
        }
    }
}

} // namespace
} // namespace Marl::Tests
