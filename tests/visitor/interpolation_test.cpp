// Values that change over time: which keys are asked. The bits of their blend are in
// tests/bits/table.txt.
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
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

TEST(Interpolation, HoldsWhatCannotBeWeighted)
{
    for (const char letter : std::string_view("-LAicfsSodr")) {
        Tree t;
        const Value sample = sampleOf(letter);
        for (const Value& later : {Value(5.0), Value(TracePoint{1, 2, 3}), Value(AColor{9, 9, 9, 9}), undefined})
            EXPECT_EQ(resultOf(t.keys({{-1, sample}, {1, later}})), shown(sample)) << letter << letterOf(later);
    }
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
        {-1, false, "012a"}, {0, false, "012a"}, {0.5, false, "012ab"}, {1, false, "012bc"},
        {1.5, true, "012b"}, {2, false, "012c"}, {nan, false, "012a"},
    };
    for (const auto& [at, hold, trail] : rows) {
        t.trail.clear();
        evaluated(node, at, hold);
        EXPECT_EQ(t.trail, trail) << at;
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
