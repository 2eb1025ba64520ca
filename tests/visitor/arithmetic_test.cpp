// The operators: which kinds they take. The bits of what they give are in tests/bits/table.txt.
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/value/array_hold.h>
#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <map>
#include <string_view>
#include <utility>

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

// Whether two values of a list's kind have their elements in one place.
bool sharesElements(const Value& one, const Value& other)
{
    const auto elements = [](const Value& value) -> const void* {
        ArrayHold<Value> list(value.getList());
        ArrayHold<Vector> vectors(value.getListVector());
        ArrayHold<int> ints(value.getListInt());
        ArrayHold<Color> colors(value.getListColor());
        ArrayHold<float> floats(value.getListFloat());
        for (const void* data : {static_cast<const void*>(list->data), static_cast<const void*>(vectors->data),
                                 static_cast<const void*>(ints->data), static_cast<const void*>(colors->data),
                                 static_cast<const void*>(floats->data)})
            if (data)
                return data;
        return nullptr;
    };
    return elements(one) && elements(one) == elements(other);
}

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

// Of a list in particular: the elements that it shares with others.
TEST(Operators, LeaveTheirOperandsAsTheyAre)
{
    CalculationVisitor evaluator;
    for (const auto& each : operators)
        for (const char leftLetter : std::string_view(kindLetters))
            for (const char rightLetter : std::string_view(kindLetters)) {
                const Value left = sampleOf(leftLetter), right = sampleOf(rightLetter);
                Value sharer(left);
                const std::string pair = std::string{leftLetter, ' ', rightLetter, ' '} + each.complaint;
                messageOf([&] {
                    Value result = evaluator.doOp(each.token, left, right);
                    EXPECT_FALSE(sharesElements(result, left) || sharesElements(result, right)) << pair;
                });
                EXPECT_EQ(shown(left), shown(sampleOf(leftLetter))) << pair;
                EXPECT_EQ(shown(sharer), shown(sampleOf(leftLetter))) << pair;
                EXPECT_EQ(shown(right), shown(sampleOf(rightLetter))) << pair;
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
