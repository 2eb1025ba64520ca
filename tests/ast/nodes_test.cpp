// What nodes do by themselves: dispatch, elements, and what their program keeps of them.
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/ast/visitor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <string_view>
#include <vector>

namespace Marl::Tests {
namespace {

// clang-format off
#define NODES(ROW)                                                        \
    ROW(BinaryExpressionAST,               visitBinaryExpression)         \
    ROW(NumberExpressionAST,               visitNumberExpression)         \
    ROW(BuiltinFunctionAST,                visitBuiltinFunction)          \
    ROW(ListExpressionAST,                 visitListExpression)           \
    ROW(PropertyReferenceAST,              visitPropertyReferenceAST)     \
    ROW(ArrayExpressionAST,                visitArrayExpressionAST)       \
    ROW(InterpolateExpressionAST,          visitInterpolateExpression)    \
    ROW(NegatedExpressionAST,              visitNegatedExpression)        \
    ROW(VectorExpressionAST,               visitVectorExpression)         \
    ROW(MatrixExpressionAST,               visitMatrixExpression)         \
    ROW(AColorExpressionAST,               visitAColorExpression)         \
    ROW(TransformExpressionAST,            visitTransformExpression)      \
    ROW(TransformHexExpressionAST,         visitTransformHexExpression)   \
    ROW(StringExpressionAST,               visitStringExpression)         \
    ROW(ObjectReferenceAST,                visitObjectReference)          \
    ROW(ListTypeExpressionAST<Vector>,     visitListVectorExpressionAST)  \
    ROW(ListTypeExpressionAST<int>,        visitListIntExpressionAST)     \
    ROW(ListTypeExpressionAST<Color>,      visitListColorExpressionAST)   \
    ROW(ListTypeExpressionAST<float>,      visitListFloatExpressionAST)   \
    ROW(ListTypeExpressionAST<CharString>, visitListStringExpressionAST)  \
    ROW(RuntimeValueAST,                   visitRuntimeValueAST)          \
    ROW(ObjectIDExpressionAST,             visitObjectIDExpression)

// Remembers which operations were called, and with which node.
class Recorder final : public Visitor {
public:
#define ROW(NODE, OPERATION) void OPERATION(NODE* visited) override { operations += #OPERATION; node = visited; }
    NODES(ROW)
#undef ROW
    std::string operations;
    ExpressionAST* node = nullptr;
};

TEST(Nodes, AcceptWithTheOperationOfTheirClass)
{
#define ROW(NODE, OPERATION) { NODE node; Recorder recorder; static_cast<ExpressionAST&>(node).accept(&recorder); \
                               EXPECT_EQ(recorder.operations, #OPERATION); EXPECT_EQ(recorder.node, &node); }
    NODES(ROW)
#undef ROW
}
// clang-format on

constexpr const char* outside = "fails: Array index is out of range.";

// The element's value, or the failure to find it.
std::string elementOf(ExpressionAST* node, int index)
{
    try {
        return resultOf(node->getElement(index));
    } catch (const InvalidOpException& failure) {
        return "fails: " + std::string(failure.what());
    }
}

TEST(Elements, AreWhatANodeIsMadeOf)
{
    Tree t;
    Value texts = listOf<CharString>({"one", nullptr});
    texts.setScenePath("a.scene");
    const struct {
        const char* name;
        ExpressionAST* node;
        std::vector<const char*> elements;
    } rows[] = {
        {"list", t.list({10, t.list({20})}), {"10", "[20]"}},
        {"vector", t.vec(1, 2, 0.1), {"1", "2", "0.1"}},
        {"color", t.rgb(1, 2, 0.1), {"1", "2", "0.1"}},
        {"color with alpha", t.rgba(1, 2, 3, 4), {"1", "2", "3", "4"}},
        {"columns",
         t.mat(t.vec(1, 0, 0), t.vec(0, 2, 0), t.vec(0, 0, 3)),
         {"vec(1 0 0)", "vec(0 2 0)", "vec(0 0 3)"}},
        {"transform", t.xform(5, t.vec(1, 2, 3)), {"5", "vec(1 2 3)"}},
        {"integers", t.node(listOf({1, -2147483647})), {"1", "-2147483647"}},
        {"colors", t.node(listOf<Color>({{0.1f, 2, 3}})), {"rgb(0.1 2 3)"}},
        {"floats", t.node(listOf({0.1f})), {"0.10000000149011612"}},
        {"texts", t.node(texts), {"\"one\" in \"a.scene\"", "null in \"a.scene\""}},
        {"empty floats", t.node(listOf<float>({})), {}},
        {"reference to a reference",
         t.reference(t.property(t.reference(t.property(t.vec(7, 8, 9))))),
         {"7", "8", "9"}},
    };
    for (const auto& [name, node, elements] : rows) {
        const auto count = static_cast<int>(elements.size());
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(elementOf(node, i), elements[static_cast<std::size_t>(i)]) << name;
        for (const int index : {count, -1, INT_MIN, INT_MAX})
            EXPECT_EQ(elementOf(node, index), outside) << name;
    }
}

TEST(Elements, AreNotOfOtherNodes)
{
    Tree t;
    for (ExpressionAST* node : std::initializer_list<ExpressionAST*>{
             t.node(1), t.sum(t.list({1}), 2), t.negated(1), t.keys({{0, t.list({1})}}),
             t.call(Builtin::Cross, {1, 2}), t.element(t.list({t.list({1})}), {0}), t.node(sampleOf('s')),
             t.node(sampleOf('o')), t.node(sampleOf('d')), t.node(sampleOf('r')), t.reference(t.property(5)),
             t.program.make<TransformHexExpressionAST>()})
        for (const int index : {0, -1})
            EXPECT_EQ(elementOf(node, index), "fails: Expression cannot be indexed.");
    EXPECT_EQ(t.vec(1, nullptr, 3)->getElement(1), nullptr);
}

TEST(Elements, FollowAHundredThousandReferencesAndNoCircle)
{
    Tree t;
    PropertyAST* property = t.property(t.list({7}));
    for (int i = 0; i < 100'000; ++i)
        property = t.property(t.reference(property));
    EXPECT_EQ(elementOf(t.reference(property), 0), "7");

    for (const int size : {1, 2, 3, 10}) {
        PropertyAST* last = t.property(0);
        PropertyAST* first = last;
        for (int i = 1; i < size; ++i)
            first = t.property(t.reference(first));
        last->expression = t.reference(first);
        PropertyAST* outsider = t.property(t.reference(t.property(t.reference(first))));
        for (PropertyAST* start : {first, last, outsider})
            EXPECT_EQ(elementOf(t.reference(start), 0), "fails: Property references form a cycle.") << size;
    }
}

TEST(Elements, OfAListInTheSourceAreReadOnceItCanBeRead)
{
    Tree t;
    SourceOwner owner;
    FakeStream stream("int[1 2 x]");
    auto* list = placed(t.program.make<ListTypeExpressionAST<int>>(), owner, stream, 4, 5);
    EXPECT_EQ(elementOf(list, 0), "fails: Expected an integer at byte 8 of the source.");
    stream.throwsAt = "read";
    EXPECT_THROW(list->getElement(0), StreamBroke);
    list->length = 3;
    EXPECT_EQ(elementOf(list, 1), "2");
    EXPECT_EQ(elementOf(list, 0), "1");
    EXPECT_EQ(elementOf(list, 2), outside);
    EXPECT_EQ(list->getElement(0), list->getElement(0));
    EXPECT_EQ(stream.reads(), 2);
    EXPECT_EQ(list->loaded, 0);
}

TEST(Keys, AreSortedByConstantTimes)
{
    Tree t;
    PropertyAST* two = t.property(t.sum(1, 1));
    PropertyAST* viaTwo = t.property(t.negated(t.reference(two)));
    PropertyAST* self = t.property(0);
    self->expression = t.reference(self);
    const auto negatedTimes = [&](int steps) { // that many nodes, the number included
        ExpressionAST* node = t.node(-9);
        for (int i = 1; i < steps; ++i)
            node = t.negated(node);
        return node;
    };
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
        {"a thousand steps", {0, negatedTimes(1000)}, "01"},
        {"a thousand and one", {0, t.negated(negatedTimes(1000)), -1}, "012", false},
        {"the time itself", {3, t.call(Builtin::Time), 1}, "012", false},
        {"a number hidden in it", {3, t.sum(1, t.traced('t', 1))}, "01", false},
        {"not a number", {3, nan, 1}, "012", false},
        {"another operator", {3, t.binary(1, 12, 1)}, "01", false},
        {"unbound", {3, t.reference("a", "b")}, "01", false},
        {"a circle", {3, t.reference(self), 1}, "012", false},
        {"a missing operand", {3, t.sum(nullptr, 1)}, "01", false},
        {"a property without expression", {3, t.reference(t.property(nullptr))}, "01", false},
    };
    for (const auto& row : rows) {
        auto* keys = t.keys({});
        std::vector<InterpolateKey*> written;
        for (const Operand& time : row.times) {
            t.program.append(keys, t.node(time), nullptr);
            written.push_back(keys->lastKey);
        }
        t.trail.clear();
        keys->sortKeys();
        std::string order;
        InterpolateKey* last = nullptr;
        for (InterpolateKey* key = keys->firstKey; key; key = key->next) {
            order += static_cast<char>('0' + (std::ranges::find(written, key) - written.begin()));
            last = key;
        }
        EXPECT_EQ(order, row.order) << row.name;
        EXPECT_EQ(keys->lastKey, last) << row.name;
        EXPECT_EQ(keys->constantTimes().times.size(), row.sorted ? row.times.size() : 0) << row.name;
        EXPECT_EQ(t.trail, "") << row.name << ": nothing is evaluated";
    }
}

TEST(Program, AppendsInOrderAlsoBehindLinksMadeByHand)
{
    Tree t;
    auto* list = t.list({1});
    ListItem byHand{t.node(2), nullptr};
    list->firstItem->next = &byHand;
    t.program.append(list, t.node(3));
    list->itemCount = 3;
    EXPECT_EQ(resultOf(list), "[1, 2, 3]");
    list->firstItem = nullptr;
    list->itemCount = 0;
    t.program.append(list, t.node(4));
    EXPECT_EQ(resultOf(list), "[4]");

    ObjectAST* lamp = t.program.addObject("lamp");
    EXPECT_EQ(t.program.firstObject, lamp);
    EXPECT_EQ(lamp->next, nullptr);
    EXPECT_EQ(t.program.addObject("rig"), lamp->next);
}

} // namespace
} // namespace Marl::Tests
