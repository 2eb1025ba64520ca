// Optimised code must keep every rounding to single precision. The straight-line vectoriser of
// g++ 12 drops it where two neighbouring values go from double to float and back; at -O0, -O1
// and under the sanitizers the fault does not show.
#include <marl/ast/program.h>
#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <iostream>

void roundTwoAsLibrary(const double* in, double* out);
void roundTwoUnguarded(const double* in, double* out);

namespace {

using namespace Marl;

// Two neighbours and what is left of them in single precision.
constexpr struct {
    double in[2];
    double rounded[2];
} pairs[] = {
    {{0.1, 0.2}, {0x1.99999ap-4, 0x1.99999ap-3}},
    {{1.0 / 3, -2.0 / 3}, {0x1.555556p-2, -0x1.555556p-1}},
    {{1e-40, 3.3e38}, {0x1.16c2p-133, 0x1.f08760p+127}},
};

TEST(Rounding, NeighboursAreRoundedWithTheOptionsOfTheLibrary)
{
    for (const auto& [in, rounded] : pairs) {
        double out[2];
        roundTwoAsLibrary(in, out);
        EXPECT_EQ(out[0], rounded[0]);
        EXPECT_EQ(out[1], rounded[1]);
    }
}

// Not a demand on the compiler: it says whether the option that the library sets is needed here.
TEST(Rounding, WhetherThisCompilerHasTheFault)
{
    const auto& [in, rounded] = pairs[0];
    double out[2];
    roundTwoUnguarded(in, out);
    const bool kept = out[0] == rounded[0] && out[1] == rounded[1];
    const bool dropped = out[0] == in[0] && out[1] == in[1];
    std::cout << "Without the option this build " << (kept ? "keeps" : "drops") << " the rounding.\n";
    EXPECT_TRUE(kept || dropped);
}

Value vectorTimes(const Value& right)
{
    CalculationVisitor evaluator;
    return evaluator.doMultiply(TracePoint{0.1, 0.2, 0.3}, right);
}

VectorExpressionAST* vectorNode(ProgramAST& program, double x, double y, double z)
{
    auto* node = program.make<VectorExpressionAST>();
    node->valueType = static_cast<int>(ValueType::Vector);
    for (int i = 0; i < 3; ++i) {
        auto* number = program.make<NumberExpressionAST>();
        number->number = i == 0 ? x : i == 1 ? y : z;
        node->components[i] = number;
    }
    return node;
}

Value crossProduct()
{
    ProgramAST program;
    auto* cross = program.make<BuiltinFunctionAST>();
    cross->functionId = static_cast<int>(Builtin::Cross);
    cross->argCount = 2;
    cross->args[0] = vectorNode(program, 0.1, 0.2, 0.3);
    cross->args[1] = vectorNode(program, 0.7, -0.4, 0.9);
    CalculationVisitor evaluator;
    cross->accept(&evaluator);
    return evaluator.getResult();
}

// Each of these computes in double and rounds three neighbours at its end; no component of the
// results below is what it would be unrounded. In the last one the sum of vector and offset is
// rounded too, which changes every component.
TEST(Rounding, TheLibraryRoundsItsVectors)
{
    const Matrix matrix({1.1f, 0.7f, -0.3f}, {0.2f, 1.3f, 0.6f}, {0.9f, -0.8f, 0.7f});
    const struct {
        const char* name;
        Value result;
        TracePoint expected;
    } rows[] = {
        {"cross product", crossProduct(), {0x1.333334p-2, 0x1.eb852p-4, -0x1.70a3d8p-3}},
        {"vector x matrix", vectorTimes(matrix), {0x1.47ae14p-3, 0x1.d70a3ep-2, 0x1.1eb852p-3}},
        {"vector x transform",
         vectorTimes(TraceTransform{matrix, {7.7, 20.9, 33.3}}),
         {0x1.a8a3d8p+3, 0x1.893332p+5, 0x1.b51eb4p+3}},
    };
    for (const auto& row : rows) {
        const TracePoint result = row.result.getTracePoint();
        EXPECT_EQ(result.x, row.expected.x) << row.name;
        EXPECT_EQ(result.y, row.expected.y) << row.name;
        EXPECT_EQ(result.z, row.expected.z) << row.name;
    }
}

} // namespace
