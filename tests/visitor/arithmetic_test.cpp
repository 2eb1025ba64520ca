// The operators: which kinds they take, and the bits of what they give.
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <span>
#include <string_view>
#include <utility>

namespace Marl::Tests {
namespace {

// Left kinds run down, right kinds across, one letter per kind in the order of ValueType; the
// letter is the kind of the result, a dot an error. A left kind without row takes nothing.
struct PictureRow {
    char left;
    std::string_view results;
};

// clang-format off
constexpr PictureRow sums[] = {
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
    {'f', "...........f....."},
};
constexpr PictureRow differences[] = {
    //    -NLVMCATvicfsSodr
    {'N', ".N..............."},
    {'V', "...V............."},
    {'M', "....M............"},
    {'T', ".......T........."},
};
constexpr PictureRow products[] = {
    //    -NLVMCATvicfsSodr
    {'N', ".N.VMC.T........."},
    {'V', ".V.NV..V........."},
    {'M', ".M..M............"},
    {'C', ".C...C..........."},
    {'A', "......A.........."},
    {'T', ".T.V...T........."},
};
constexpr PictureRow quotients[] = {
    //    -NLVMCATvicfsSodr
    {'N', ".N..............."},
    {'V', ".V..............."},
    {'M', ".M..............."},
    {'C', ".C..............."},
    {'A', ".A..............."},
};
// clang-format on

TEST(Operators, TakeThePairsOfTheirTableAndNoOthers)
{
    const struct {
        TOKENTYPE token;
        std::span<const PictureRow> picture;
        const char* complaint;
    } operators[] = {
        {TOKEN_PLUS, sums, "Unable to sum."},
        {TOKEN_MINUS, differences, "Unable to subtract."},
        {TOKEN_MULTIPLY, products, "Unable to multiply."},
        {TOKEN_DIVIDE, quotients, "Unable to divide."},
    };
    for (const auto& [token, picture, complaint] : operators)
        for (const char left : std::string_view(kindLetters))
            for (int right = 0; kindLetters[right] != 0; ++right) {
                const auto row = std::ranges::find(picture, left, &PictureRow::left);
                const char expected = row == picture.end() ? '.' : row->results[static_cast<std::size_t>(right)];
                Tree t;
                ExpressionAST* node = t.binary(sampleOf(left), token, sampleOf(kindLetters[right]));
                const std::string pair = std::string{left, ' ', kindLetters[right], ' '} + complaint;
                if (expected == '.')
                    EXPECT_EQ(messageOf([&] { evaluated(node); }), complaint) << pair;
                else
                    EXPECT_EQ(letterOf(evaluated(node)), expected) << pair;
            }
}

// The matrices and offsets are such that another order of the factors, of the three summands or
// another step of rounding changes the result.
const Matrix A({1.1f, 0.7f, -0.3f}, {0.2f, 1.3f, 0.6f}, {0.9f, -0.8f, 0.7f});
const Matrix B({0.3f, 1.9f, 0.1f}, {-0.4f, 0.6f, 2.3f}, {1.7f, 0.2f, -0.5f});
const Matrix C({0.8f, -0.1f, 1.5f}, {-0.8f, 1.4f, -1.6f}, {0.8f, 1.3f, 1.1f});
const TraceTransform TA{A, {10.1, 20.2, 30.3}}, TB{B, {0.1, 0.2, 0.3}};
const TracePoint tenths{0.1, 0.2, 0.3}, ones{1, 1, 1};

// Single-precision neighbors whose sum loses the small one unless the large ones cancel first.
const Matrix cancelling({1, 1e8f, 1e8f}, {1e8f, 1, -1e8f}, {-1e8f, -1e8f, 1});

// clang-format off
TEST(Operators, AddAndSubtractInThePrecisionOfTheKind)
{
    Tree t;
    expectResults({
        {"left minus right", t.difference(1, 2), "-1"},
        {"numbers in double", t.sum(0.1, 0.2), "0.30000000000000004"},
        {"vectors in single", t.sum(TracePoint{0.1, 16777216, 1e39}, TracePoint{0.2, 1, 1}), "vec(0.30000001192092896 16777216 inf)"},
        {"vectors apart", t.difference(TracePoint{0.1, 0.3, -1e39}, TracePoint{0.2, 0.1, -1e39}),
         "vec(-0.10000000149011612 0.20000001788139343 nan)"},
        {"colors", t.sum(Color{0.1f, 0.7f, 3e38f}, Color{0.2f, 0.1f, 3e38f}), "rgb(0.3 0.8 inf)"},
        {"alpha adds too", t.sum(AColor{0.25f, 0.5f, 0.75f, 0.5f}, AColor{0.25f, 0.25f, 0.25f, 0.5f}), "rgba(0.5 0.75 1 1)"},
        {"matrices", t.sum(A, B), "mat(1.4000001 2.6 -0.20000002, -0.2 1.9 2.9, 2.6 -0.6 0.19999999)"},
        {"offsets are rounded first", t.sum(TraceTransform{A, {0.1, 1e39, 16777217}}, TraceTransform{B, {0.2, 1, 1}}),
         "xform(1.4000001 2.6 -0.20000002, -0.2 1.9 2.9, 2.6 -0.6 0.19999999, 0.30000001192092896 inf 16777216)"},
        {"offsets apart", t.difference(TraceTransform{A, {0.1, 0.3, 16777217}}, TraceTransform{B, {0.2, 0.1, 1}}),
         "xform(0.8 -1.2 -0.4, 0.6 0.6999999 -1.6999999, -0.8000001 -1 1.2, -0.10000000149011612 0.20000001788139343 16777215)"},
    });
}

TEST(Operators, JoinListsAndAppendToThem)
{
    Tree t;
    const Value nothing = listOf<Value>({});
    expectResults({
        {"two lists", t.sum(listOf<Value>({1, 2}), listOf<Value>({3})), "[1, 2, 3]"},
        {"a number", t.sum(listOf<Value>({1}), 2), "[1, 2]"},
        {"a typed list is one element", t.sum(listOf<Value>({1}), listOf({2, 3})), "[1, int[2 3]]"},
        {"an undefined value too", t.sum(nothing, Value()), "[undefined]"},
        {"a text keeps its path", t.sum(nothing, sampleOf('s')), "[\"text\" in \"a.scene\"]"},
        {"vectors", t.sum(sampleOf('v'), listOf<Vector>({{7, 8, 9}})), "vec[1 2 3, 4 5 6, 7 8 9]"},
        {"colors", t.sum(sampleOf('c'), sampleOf('c')), "rgb[1 0 0, 1 0 0]"},
        {"floats", t.sum(listOf({0.1f}), listOf({0.2f, 0.3f})), "float[0.1 0.2 0.3]"},
    });
}

TEST(Operators, MultiplyInThePrecisionOfThePair)
{
    Tree t;
    expectResults({
        {"numbers in double", t.product(1, 0.1), "0.1"},
        {"a vector's factor is rounded", t.product(ones, 0.1), "vec(0.10000000149011612 0.10000000149011612 0.10000000149011612)"},
        {"so is the vector", t.product(0.1, tenths), "vec(0.010000000707805157 0.020000001415610313 0.030000001192092896)"},
        {"a factor beyond single", t.product(1e39, TracePoint{0, 1, -1}), "vec(nan inf -inf)"},
        {"dot product", t.product(TracePoint{1, 2, 3}, TracePoint{4, 5, 6}), "32"},
        {"dot in double of rounded vectors", t.product(tenths, TracePoint{0.4, 0.5, 0.6}), "0.32000001698732405"},
        {"dot from the left", t.product(TracePoint{1, 1e20, -1e20}, ones), "0"},
        {"A x B", t.product(A, B), "mat(0.8 2.6 1.12, 1.7499999 -1.34 2.09, 1.46 1.85 -0.74)"},
        {"B x A", t.product(B, A), "mat(-0.46000004 2.45 1.8699999, 0.5600001 1.2800001 2.7099998, 1.7800001 1.3699999 -2.1)"},
        {"matrices in single, from the left", t.product(cancelling, Matrix({1, 1, 1}, {1, 0, 0}, {0, 1, 0})),
         "mat(0 0 1, 1 1e+08 1e+08, 1e+08 1 -1e+08)"},
        {"matrix by number", t.product(A, 0.1), "mat(0.11000001 0.07 -0.030000001, 0.020000001 0.13 0.060000002, 0.089999996 -0.080000006 0.07)"},
        {"number by matrix", t.product(1e39, Matrix(1)), "mat(inf nan nan, nan inf nan, nan nan inf)"},
        {"vector by matrix in double, rounded", t.product(TracePoint{-0.3, 0.1, 0.2}, C),
         "vec(0.049999989569187164 0.06000000238418579 0.10999999195337296)"},
        {"vector by matrix from the left", t.product(TracePoint{1, 1e20, -1e20}, Matrix({1, 1, 1}, {1, 0, 0}, {1, 1, 0})),
         "vec(0 1 100000002004087734272)"},
        {"a color's factor is rounded", t.product(Color{0.7f, 0.9f, 1.3f}, 0.3), "rgb(0.21000001 0.27 0.39000002)"},
        {"colors", t.product(Color{0.1f, 0.7f, 1e-30f}, Color{0.2f, 0.1f, 1e-30f}), "rgb(0.020000001 0.07 0)"},
        {"alpha multiplies too", t.product(AColor{0.1f, 0.7f, 0.3f, 0.1f}, AColor{0.2f, 0.1f, 0.6f, 0.7f}), "rgba(0.020000001 0.07 0.18 0.07)"},
        {"transform by number", t.product(TraceTransform{A, {1, 2, 3}}, 0.1),
         "xform(0.11000001 0.07 -0.030000001, 0.020000001 0.13 0.060000002, 0.089999996 -0.080000006 0.07, "
         "0.10000000149011612 0.20000000298023224 0.30000000447034836)"},
        {"number by transform", t.product(1e39, TraceTransform{Matrix(1), {1, 0, -1}}), "xform(inf nan nan, nan inf nan, nan nan inf, inf nan -inf)"},
        {"right transform first", t.product(TA, TB),
         "xform(0.8 2.6 1.12, 1.7499999 -1.34 2.09, 1.46 1.85 -0.74, 10.519999995827675 20.289999985694884 30.6)"},
        {"the other way round", t.product(TB, TA),
         "xform(-0.46000004 2.45 1.8699999, 0.5600001 1.2800001 2.7099998, 1.7800001 1.3699999 -2.1, "
         "46.56000144481659 37.570000331103806 32.61999905183911)"},
        {"transform of a vector in double", t.product(TA, tenths), "vec(10.519999995827675 20.289999985694884 30.6)"},
        {"the offset comes last", t.product(TraceTransform{Matrix({1, 0, 0}, {1, 0, 0}, {0, 0, 0}), {-1e17, 0, 1}}, TracePoint{1e17, 1, 0}),
         "vec(0 0 1)"},
        {"vector by transform, moved and rounded first", t.product(TracePoint{-0.3, 0.1, 0.2}, TraceTransform{C, {-34.4, -4.2, 18.7}}),
         "vec(0.9999983906745911 -8.219998359680176 -12.30000114440918)"},
    });
}

TEST(Operators, DivideByAReciprocal)
{
    Tree t;
    const Matrix large({1e30f, -1e30f, 0}, {0, 0, 0}, {0, 0, 0});
    expectResults({
        {"numbers in double", t.quotient(1, 1.1), "0.9090909090909091"},
        {"number by zero", t.quotient(1, 0), "inf"},
        {"a vector's reciprocal in double", t.quotient(ones, 1.1), "vec(0.9090909361839294 0.9090909361839294 0.9090909361839294)"},
        {"a color's in single", t.quotient(Color{1, 1, 1}, 1.1), "rgb(0.9090909 0.9090909 0.9090909)"},
        {"alpha too", t.quotient(AColor{0.1f, 0.2f, 0.3f, 1}, 1.1), "rgba(0.090909086 0.18181817 0.27272728 0.9090909)"},
        {"a vector by what single cannot hold", t.quotient(TracePoint{1e30, -1e30, 0}, 1e39),
         "vec(1.0000001937626735e-09 -1.0000001937626735e-09 0)"},
        {"a matrix by it", t.quotient(large, 1e39), "mat(0 -0 0, 0 0 0, 0 0 0)"},
        {"a vector by zero", t.quotient(TracePoint{1, -1, 0}, 0), "vec(inf -inf nan)"},
        {"a color by minus zero", t.quotient(Color{1, -1, 0}, -0.0), "rgb(-inf inf nan)"},
        {"a color by what single rounds to zero", t.quotient(Color{1, -1, 0}, 1e-46), "rgb(inf -inf nan)"},
    });
}

TEST(Operators, NegateWhatHasASign)
{
    Tree t;
    const double tiny = 1 + 0x1p-40; // not representable in single precision
    expectResults({
        {"number", t.negated(2.5), "-2.5"},
        {"zero", t.negated(0.0), "-0"},
        {"minus zero", t.negated(-0.0), "0"},
        {"nan", t.negated(std::nan("")), "nan"},
        {"a vector is rounded", t.negated(TracePoint{tiny, 0, -1e39}), "vec(-1 -0 inf)"},
        {"color", t.negated(Color{0.5f, -0.0f, 7}), "rgb(-0.5 0 -7)"},
        {"matrix", t.negated(Matrix({1, -2, 0}, {3, 4, 5}, {6, 7, -8})), "mat(-1 2 -0, -3 -4 -5, -6 -7 8)"},
        {"an offset is not rounded", t.negated(TraceTransform{Matrix(1), {tiny, 0, 0.1}}),
         "xform(-1 -0 -0, -0 -1 -0, -0 -0 -1, -1.0000000000009095 -0 -0.1)"},
        {"twice", t.negated(t.negated(0.1)), "0.1"},
    });
    for (const char letter : std::string_view("-LAvicfsSodr"))
        EXPECT_EQ(resultOf(t.negated(sampleOf(letter))), shown(sampleOf(letter)));
}
// clang-format on

TEST(Operators, AnUnknownTokenGivesAnUndefinedValueOfTwoEvaluatedOperands)
{
    for (const int token : {0, 12, 17, -1, 2147483647}) {
        Tree t;
        EXPECT_EQ(resultOf(t.binary(t.traced('l', 1), token, t.traced('r', 2))), "undefined");
        EXPECT_EQ(t.trail, "lr");
    }
}

// A tree's numbers go another way.
TEST(Operators, TakeTheNumbersOfAHost)
{
    CalculationVisitor evaluator;
    const Value left(7.0), right(2.0);
    for (const auto& [op, result] :
         {std::pair(TOKEN_PLUS, "9"), std::pair(TOKEN_MINUS, "5"), std::pair(TOKEN_MULTIPLY, "14"),
          std::pair(TOKEN_DIVIDE, "3.5"), std::pair(TOKENTYPE(0), "undefined")})
        EXPECT_EQ(shown(evaluator.doOp(op, left, right)), result);
    Value negated(2.5);
    evaluator.negate(negated);
    EXPECT_EQ(shown(negated), "-2.5");
}

} // namespace
} // namespace Marl::Tests
