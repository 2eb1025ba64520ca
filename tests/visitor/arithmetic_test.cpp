// The operators: which kinds they take. The bits of what they give are in tests/bits/table.txt.
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string_view>
#include <utility>
#include <vector>

namespace Marl::Tests {
namespace {

// Left kinds run down, right kinds across, one letter per kind in the order of ValueType; the
// letter is the kind of the result, a dot an error. A left kind without row takes nothing.
const struct {
    TOKENTYPE token;
    const char* complaint;
    std::map<char, std::string_view> picture;
} operators[] = {
    // clang-format off
    {TOKEN_PLUS, "Unable to sum.", {
        //    -NLVMCATvicfsSodr
        {'N', ".N..............."},
        {'L', "LLLLLLLLLLLLLLLLL"},
        {'V', "...V............."},
        {'M', "....M............"},
        {'C', ".....C..........."},
        {'A', "......A.........."},
        {'T', ".......T........."},
        {'v', "........v........"},
        {'i', ".........i......."},
        {'c', "..........c......"},
        {'f', "...........f....."}}},
    {TOKEN_MINUS, "Unable to subtract.", {
        {'N', ".N..............."},
        {'V', "...V............."},
        {'M', "....M............"},
        {'T', ".......T........."}}},
    {TOKEN_MULTIPLY, "Unable to multiply.", {
        {'N', ".N.VMC.T........."},
        {'V', ".V.NV..V........."},
        {'M', ".M..M............"},
        {'C', ".C...C..........."},
        {'A', "......A.........."},
        {'T', ".T.V...T........."}}},
    {TOKEN_DIVIDE, "Unable to divide.", {
        {'N', ".N..............."},
        {'V', ".V..............."},
        {'M', ".M..............."},
        {'C', ".C..............."},
        {'A', ".A..............."}}},
    // clang-format on
};

TEST(Operators, TakeThePairsOfTheirTableAndNoOthers)
{
    for (const auto& [token, complaint, picture] : operators)
        for (const char left : std::string_view(kindLetters))
            for (std::size_t right = 0; kindLetters[right] != 0; ++right) {
                const char expected = picture.contains(left) ? picture.at(left)[right] : '.';
                Tree t;
                ExpressionAST* node = t.binary(sampleOf(left), token, sampleOf(kindLetters[right]));
                const std::string pair = std::string{left, ' ', kindLetters[right], ' '} + complaint;
                if (expected == '.') {
                    EXPECT_EQ(messageOf([&] { evaluated(node); }), complaint) << pair;
                } else {
                    EXPECT_EQ(letterOf(evaluated(node)), expected) << pair;
                }
            }
}

TEST(Operators, KeepWhatTheyDoNotCompute)
{
    Tree t;
    for (const char letter : std::string_view(kindLetters)) {
        if (letter != 'L') { // whose elements are joined
            EXPECT_EQ(resultOf(t.sum(listOf<Value>({1}), sampleOf(letter))), "[1, " + shown(sampleOf(letter)) + "]");
        }
        if (std::string_view("NVMCT").find(letter) == std::string_view::npos) {
            EXPECT_EQ(resultOf(t.negated(sampleOf(letter))), shown(sampleOf(letter)));
        }
    }
}

TEST(Operators, AnUnknownTokenGivesAnUndefinedValueOfTwoEvaluatedOperands)
{
    for (const int token : {0, 12, 17, -1, 2147483647}) {
        Tree t;
        EXPECT_EQ(resultOf(t.binary(t.traced('l', 1), token, t.traced('r', 2))), "undefined");
        EXPECT_EQ(t.trail, "lr");
    }
}

// A tree's numbers go another way.
// An evaluator remembers in the node what it met there; whoever changes the node need not know.
TEST(Operators, ComputeWhatTheirNodeSaysNow)
{
    Tree t;
    auto* call = t.call(Builtin::Time, {4});
    const std::vector<ExpressionAST*> operands = {t.node(3), call,       t.sum(1, t.call(Builtin::Time)),
                                                  nullptr,   t.list({}), t.vec(1, 2, 3)};
    const std::vector<Builtin> functions = {Builtin::Time, Builtin::Sqr, Builtin::Pi};
    const std::vector<int> tokens = {12, 13, 14, 15, 16};
    std::minstd_rand random;
    const auto oneOf = [&](const auto& some) { return some[random() % some.size()]; };

    auto* changed = t.binary(1, 13, 1);
    for (int step = 0; step < 2000; ++step) {
        switch (random() % 4) {
        case 0: changed->left = oneOf(operands); break;
        case 1: changed->right = oneOf(operands); break;
        case 2: changed->op = TOKENTYPE(oneOf(tokens)); break;
        case 3: call->functionId = static_cast<int>(oneOf(functions)); break;
        }
        const std::string expected = resultOf(t.binary(changed->left, changed->op, changed->right), 10);
        ASSERT_EQ(resultOf(changed, 10), expected) << "step " << step;
    }
}

TEST(Operators, TakeTheNumbersOfAHost)
{
    CalculationVisitor evaluator;
    for (const auto& [op, result] :
         {std::pair(TOKEN_PLUS, "9"), std::pair(TOKEN_MINUS, "5"), std::pair(TOKEN_MULTIPLY, "14"),
          std::pair(TOKEN_DIVIDE, "3.5"), std::pair(TOKENTYPE(0), "undefined")})
        EXPECT_EQ(shown(evaluator.doOp(op, 7.0, 2.0)), result);
    Value negated(2.5);
    evaluator.negate(negated);
    EXPECT_EQ(shown(negated), "-2.5");
}

} // namespace
} // namespace Marl::Tests
