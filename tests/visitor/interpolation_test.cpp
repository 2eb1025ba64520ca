// Values that change over time: which keys are asked, and the bits of their blend.
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace Marl::Tests {
namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan = std::nan("");
const Value undefined;

// As the resolution pass leaves it: sorted, constant times noted.
InterpolateExpressionAST* resolved(InterpolateExpressionAST* node)
{
    DecorationVisitor pass;
    node->accept(&pass);
    return node;
}

// A key for each time whose value is its place in the list: 0, 1, 2 and so on.
InterpolateExpressionAST* numbered(Tree& t, const std::vector<double>& times)
{
    auto* node = t.keys({});
    for (const double time : times)
        t.program.append(node, t.node(time), t.node(node->keyCount));
    return node;
}

TEST(Interpolation, FindsThePairOfKeysAroundTheTime)
{
    const struct {
        std::vector<double> times;
        double at;
        const char* result; // the place of the key; with a fraction, between two keys
        const char* held;
    } rows[] = {
        // clang-format off
        {{0, 10}, 0, "0", "0"}, {{0, 10}, 2.5, "0.25", "0"}, {{0, 10}, 10, "1", "1"},
        {{0, 10}, -inf, "0", "0"}, {{0, 10}, inf, "1", "1"}, {{0, 10}, nan, "0", "0"},
        {{0, 4, 8}, 4, "1", "1"}, {{-0.0, 0.0, 4}, 1, "1.25", "1"}, {{5}, 6, "0", "0"}, {{5}, nan, "0", "0"},
        {{0, 1, 1, 2}, 0.5, "0.5", "0"}, {{0, 1, 1, 2}, 1, "2", "2"}, {{0, 1, 1, 2}, 1.5, "2.5", "2"}, {{0, 1, 1}, 1, "2", "2"},
        {{-inf, 0, inf}, -7, "nan", "0"}, {{-inf, 0, inf}, 7, "1", "1"}, {{-inf, 0, inf}, inf, "2", "2"},
        // Never sorted: the first neighbors that have the time between them.
        {{0, 10, 5, 20}, 7, "0.7", "0"}, {{0, 10, 5, 20}, 12.5, "2.5", "2"}, {{10, 5, 0}, 7, "0", "0"},
        {{0, nan, 10}, 5, "nan", "0"}, {{nan, 0, 10}, 5, "0", "0"}, {{0, 10, nan}, 12, "nan", "1"},
        // clang-format on
    };
    for (const auto& [times, at, result, held] : rows) {
        Tree t;
        auto* node = numbered(t, times);
        EXPECT_EQ(resultOf(node, at), result) << "key " << result << " at " << at;
        EXPECT_EQ(resultOf(node, at, true), held) << "held key " << held << " at " << at;
        if (std::ranges::is_sorted(times)) { // the same by search
            EXPECT_EQ(resultOf(resolved(node), at), result) << "key " << result << " at " << at;
            EXPECT_EQ(resultOf(node, at, true), held) << "held key " << held << " at " << at;
        }
    }
}

// A third of the way in double, and the two weights rounded to single for all but numbers.
TEST(Interpolation, BlendsInThePrecisionOfTheKind)
{
    const TracePoint a{0.1, -0.2, 0.9}, b{0.7, 0.9, 0.3};
    const Vector aSingle{0.1f, -0.2f, 0.9f}, bSingle{0.7f, 0.9f, 0.3f}, c{3.3f, 1.7f, -0.6f}, d{-0.1f, 2.2f, 0.8f};
    const struct {
        Value earlier, later;
        const char* result;
    } rows[] = {
        {0.1, 0.7, "0.3"},
        {a, b, "vec(0.30000001192092896 0.1666666716337204 0.7000000476837158)"},
        {Color{0.1f, -0.2f, 0.9f}, Color{0.7f, 0.9f, 0.3f}, "rgb(0.3 0.16666667 0.70000005)"},
        {Matrix(aSingle, c, {1, 0, 0}), Matrix(bSingle, d, {0, 1, 0}),
         "mat(0.3 0.16666667 0.70000005, 2.1666667 1.8666668 -0.13333336, 0.6666667 0.33333334 0)"},
        {listOf({aSingle, c}), listOf({bSingle, d}),
         "vec[0.3 0.16666667 0.70000005, 2.1666667 1.8666668 -0.13333336]"},
    };
    for (const auto& [earlier, later, result] : rows) {
        Tree t;
        EXPECT_EQ(resultOf(t.keys({{0, earlier}, {0.3, later}}), 0.1), result);
    }
}

TEST(Interpolation, OfTransformsRoundsTheOffsetWhereItBlends)
{
    Tree t;
    const TraceTransform first{Matrix(1), {0.1, 0, 0}}, second{Matrix(1), {1.1, 1, 1e39}};
    auto* node = t.keys({{0, first}, {1, first}, {2, second}, {3, first}});
    EXPECT_EQ(resultOf(node, 0), "xform(1 0 0, 0 1 0, 0 0 1, 0.1 0 0)");
    EXPECT_EQ(resultOf(node, 1), "xform(1 0 0, 0 1 0, 0 0 1, 0.10000000149011612 0 0)");
    EXPECT_EQ(resultOf(node, 2), "xform(1 0 0, 0 1 0, 0 0 1, 1.100000023841858 1 inf)");
    EXPECT_EQ(resultOf(node, 2, true), "xform(1 0 0, 0 1 0, 0 0 1, 1.1 1 1e+39)");
}

TEST(Interpolation, HoldsWhatCannotBeWeighted)
{
    for (const char letter : std::string_view("-LAicfsSodr")) {
        Tree t;
        const Value sample = sampleOf(letter);
        for (const Value& later : {Value(5.0), Value(TracePoint{1, 2, 3}), Value(AColor{9, 9, 9, 9}), undefined})
            EXPECT_EQ(resultOf(t.keys({{-1, sample}, {1, later}})), shown(sample)) << letter << letterOf(later);
    }
}

TEST(Interpolation, BetweenKindsFollowsTheEarlierValue)
{
    const TracePoint vector{1, 2, 3};
    const TraceTransform twice{Matrix(2), {2, 4, 6}};
    const struct {
        const char* name;
        Value earlier, later;
        const char* result;
    } rows[] = {
        {"sum of number and vector", 5, vector, "fails: Unable to sum."},
        {"sum of vector and color", vector, Color{1, 1, 1}, "fails: Unable to sum."},
        {"later cannot be weighted", vector, sampleOf('s'), "vec(1 2 3)"},
        {"lists of two and of three", sampleOf('v'), listOf<Vector>({{}, {}, {}}), "vec[1 2 3, 4 5 6]"},
        {"a list and a number, an empty list", sampleOf('v'), 5, "vec[1 2 3, 4 5 6]"},
        {"an empty list and a number", listOf<Vector>({}), 5, "vec[]"},
        {"a transform and a number, a zero transform", twice, 5, "xform(1 0 0, 0 1 0, 0 0 1, 1 2 3)"},
    };
    for (const auto& row : rows) {
        Tree t;
        EXPECT_EQ(resultOf(t.keys({{-1, row.earlier}, {1, row.later}})), row.result) << row.name;
    }
    Tree t;
    EXPECT_EQ(resultOf(t.keys({{-1, 0}, {0, 1}, {1, inf}})), "nan") << "zero times infinity on an inner key";
    EXPECT_EQ(resultOf(t.keys({{vector, 10}, {10, 20}}), 5), "15") << "a time that is no number is zero";
}

TEST(Interpolation, EvaluatesAllTimesAndOnlyTheValuesItNeeds)
{
    Tree t;
    auto* node = t.keys({{t.traced('0', 0), t.traced('a', 10)},
                         {t.traced('1', 1), t.traced('b', 20)},
                         {t.traced('2', 2), t.traced('c', 30)}});
    const struct {
        double at;
        bool hold;
        const char* trail;
    } rows[] = {
        {-1, false, "012a"}, {0.5, false, "012ab"}, {1, false, "012bc"},
        {1.5, true, "012b"}, {2, false, "012c"},    {nan, false, "012a"},
    };
    for (const auto& [at, hold, trail] : rows) {
        t.trail.clear();
        evaluated(node, at, hold);
        EXPECT_EQ(t.trail, trail) << at;
    }
}

// What is noted of constant times must never change a result: a host's own nodes as times say
// the same numbers without anyone knowing beforehand.
TEST(Interpolation, OfConstantTimesGivesWhatEvaluatedTimesGive)
{
    std::mt19937 random(20);
    const auto pick = [&](std::initializer_list<double> from) { return from.begin()[random() % from.size()]; };
    for (int round = 0; round < 300; ++round) {
        std::vector<double> times(1 + random() % 9);
        for (double& time : times)
            time = pick({-inf, -1e300, -2, -1, -0.0, 0.0, 0x1p-1074, 1, 1.5, 1.5, 2, 3, 1e300, inf});
        std::ranges::stable_sort(times);

        Tree t;
        auto* constant = t.keys({});
        auto* varying = t.keys({});
        for (std::size_t i = 0; i < times.size(); ++i) {
            ExpressionAST* value = t.node(std::exp(static_cast<double>(i)));
            t.program.append(constant, t.node(times[i]), value);
            t.program.append(varying, t.traced('t', times[i]), value);
        }
        resolved(constant);
        resolved(varying);
        ASSERT_FALSE(constant->constantTimes().times.empty());
        ASSERT_TRUE(varying->constantTimes().times.empty());
        for (const double at : {-inf, -1e300, -2.0, -1.5, -0.0, 0x1p-1074, 0.5, 1.5, 2.9, 1e300, inf, nan})
            for (const bool hold : {false, true})
                ASSERT_EQ(resultOf(constant, at, hold), resultOf(varying, at, hold))
                    << "round " << round << " at " << at;
    }
}

TEST(Interpolation, SeesKeysAndTimesThatChangedSinceTheyWereNoted)
{
    Tree t;
    auto* node = resolved(numbered(t, {0, 1}));
    t.program.append(node, t.node(2), t.node(7));
    EXPECT_EQ(resultOf(node, 5), "7");

    resolved(node);
    InterpolateKey byHand{t.node(3), t.node(8), nullptr};
    node->lastKey = node->lastKey->next = &byHand;
    EXPECT_EQ(resultOf(node, 5), "8");

    for (const int count : {-1, 0, 2147483647}) { // only a hint
        node->keyCount = count;
        EXPECT_EQ(resultOf(node, 5), "8");
    }
}

} // namespace
} // namespace Marl::Tests
