// The built-in functions, noise among them.
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Marl::Tests {
namespace {

using enum Builtin;
constexpr float inf = std::numeric_limits<float>::infinity();
const float nan = std::nanf("");

// clang-format off
TEST(Builtins, GiveWhatTheirNameSays)
{
    Tree t;
    const TracePoint x{1, 0, 0}, y{0, 1, 0}, ones{1, 1, 1}, tenths{0.1, 0.2, 0.3};
    expectResults({
        {"time", t.call(Time), "12.5"},
        {"sample", t.call(Sample, {}, 0.1f), "0.10000000149011612"},
        {"pi in single", t.call(Pi), "3.1415927410125732"},
        {"sqr", t.call(Sqr, {-3}), "9"},
        {"sqr in double", t.call(Sqr, {0.1}), "0.010000000000000002"},
        {"sqrt", t.call(Sqrt, {2}), "1.4142135623730951"},
        {"sqrt below zero", t.call(Sqrt, {-1}), "nan"},
        {"sin", t.call(Sin, {0.5}), "0.479425538604203"},
        {"cos", t.call(Cos, {0.5}), "0.8775825618903728"},
        {"length in single", t.call(Length, {ones}), "1.7320507764816284"},
        {"length from the left", t.call(Length, {t.vec(2.4, 1.3, 2.8)}), "3.910242795944214"},
        {"pow", t.call(Pow, {2, 0.5}), "1.4142135623730951"},
        {"pow of its first", t.call(Pow, {1.1, -3}), "0.7513148009015775"},
        {"zero to the zero", t.call(Pow, {0, 0}), "1"},
        {"cross the other way", t.call(Cross, {y, x}), "vec(0 0 -1)"},
        {"cross in double", t.call(Cross, {tenths, t.vec(0.3, 0.6, 0.9)}), "vec(-1.639127766850379e-08 8.195638834251895e-09 0)"},
        {"uniform", t.call(Uniform, {2, 4}, 0.25f), "2.5"},
        {"uniform at zero", t.call(Uniform, {0.1, 1e300}, 0), "0.1"},
        {"uniform weighs both", t.call(Uniform, {0.3, 1.1}, 0.9f), "1.019999980926514"},
        {"uniform to infinity", t.call(Uniform, {2, inf}, 0), "nan"},
        {"a vector is zero to sqr", t.call(Sqr, {ones}), "0"},
        {"and to pow", t.call(Pow, {2, sampleOf('s')}), "1"},
        {"a number is no vector", t.call(Length, {5}), "0"},
        {"noise of what is no vector", t.call(Noise, {Value()}), "0.000883722270373255"},
    }, 12.5);
}
// clang-format on

TEST(Builtins, EvaluateAsManyArgumentsAsTheyTake)
{
    const struct {
        int function;
        const char* trail;
    } rows[] = {{1, ""},  {2, ""},    {3, ""},    {4, "a"},   {5, "a"}, {6, "a"}, {7, "a"}, {8, "a"},
                {9, "a"}, {10, "ab"}, {11, "ab"}, {12, "ab"}, {0, ""},  {13, ""}, {-1, ""}, {2147483647, ""}};
    for (const auto& [function, trail] : rows)
        for (const int argCount : {0, 3}) {
            Tree t;
            auto* call = t.call(Builtin(function), {t.traced('a', 1), t.traced('b', 2), t.traced('c', 3)});
            call->argCount = argCount;
            const std::string result = resultOf(call);
            EXPECT_EQ(t.trail, trail) << function;
            EXPECT_EQ(result == "undefined", function < 1 || function > 12) << function;
        }
    CalculationVisitor evaluator;
    Tree().node(5)->accept(&evaluator);
    evaluator.visitBuiltinFunction(nullptr);
    EXPECT_EQ(shown(evaluator.getResult()), "5");
}

float noiseAt(const Vector& point)
{
    return CalculationVisitor().noise(point);
}

TEST(Noise, HasItsBits)
{
    const struct {
        Vector point;
        float noise;
    } rows[] = {
        // clang-format off
        {{0, 0, 0}, 0x1.cf5332p-11f}, {{1, 2, 3}, 0x1.b74ff2p-3f}, {{0.5f, 0.25f, 0}, -0x1.a49f52p-3f},
        {{-1.5f, 2, 3}, -0x1.a6e7f2p-4f}, {{10.25f, -3.75f, 0.5f}, -0x1.7f8edap-4f},
        {{0, 0, 0.25f}, 0x1.cf5332p-11f}, {{0, 0, 0.75f}, -0x1.046014p-4f}, // z is resolved in steps of a half here
        {{-7.3f, -7.9f, -7829382.6f}, -0x1.c6afe0p-3f}, {{100.1f, 200.2f, 300.3f}, -0x1.f0e40cp-5f},
        {{-1000.7f, 5000.3f, -12345.6f}, -0x1.a0025cp-5f}, {{255.9f, -256.1f, 127.4f}, -0x1.53da08p-6f},
        {{1000000.25f, -999999.5f, -7829374.5f}, -0x1.0d2494p-2f},
        // The last and the first cell of 32 bits, then far outside every cell.
        {{2147483520.0f, 0, 0}, 0x1.8abb5ap-4f}, {{-2147483648.0f, 1, 1}, 0x1.d76438p-5f},
        {{3e9f, 0.5f, 0.5f}, inf}, {{1e20f, -1e20f, 1e20f}, -inf},
        // clang-format on
    };
    for (const auto& [point, noise] : rows)
        EXPECT_EQ(noiseAt(point), noise) << point.x << " " << point.y << " " << point.z;
    for (const Vector& point : {Vector{nan, 0, 0}, {0, nan, 1}, {0.5f, 0.5f, inf}, {-inf, 0, 0}})
        EXPECT_TRUE(std::isnan(noiseAt(point))) << point.x << " " << point.y << " " << point.z;
}

// All 256 entries of both tables are met along each axis. The number is worked out elsewhere: FNV-1a
// over the bytes of the results.
TEST(Noise, TakesEveryEntryOfItsTables)
{
    std::uint32_t digest = 2166136261u;
    for (float Vector::*axis : {&Vector::x, &Vector::y, &Vector::z})
        for (int step = 0; step < 256; ++step) {
            Vector point{0.25f, 0.5f, 0.5f};
            point.*axis += static_cast<float>(step);
            const auto bits = std::bit_cast<std::uint32_t>(noiseAt(point));
            for (int shift = 0; shift < 32; shift += 8)
                digest = (digest ^ (bits >> shift & 255u)) * 16777619u;
        }
    EXPECT_EQ(digest, 0x1b48a72bu);
}

// The lattice is shifted; a lattice point lies where coordinate plus shift is an integer.
constexpr float shiftX = 0.3333f, shiftY = 0.1111f, shiftZ = 7829375;

TEST(Noise, IsZeroAtLatticePoints)
{
    EXPECT_EQ(noiseAt({0.6667f, 0.8889f, 0}), 0);
    EXPECT_EQ(noiseAt({-shiftX, -shiftY, -shiftZ}), 0);
    for (int x = -300; x <= 300; x += 50)
        for (int y = -3; y <= 3; ++y)
            for (int z = -1; z <= 1; ++z) {
                const Vector point{static_cast<float>(x) - shiftX, static_cast<float>(y) - shiftY,
                                   static_cast<float>(z) - shiftZ};
                EXPECT_NEAR(noiseAt(point), 0, 1e-4) << x << " " << y << " " << z;
            }
}

// A wrong cell, offset or corner shows as a jump where two cells meet, and at negative
// coordinates and the wrap-around first of all.
TEST(Noise, IsContinuousAcrossTheFacesOfCells)
{
    constexpr float step = 0.001f;
    double largest = 0;
    for (const int cell : {-513, -257, -256, -2, -1, 0, 1, 255, 256, 1000})
        for (const float across : {0.1f, 0.45f, 0.8f}) {
            const auto face = static_cast<float>(cell);
            const auto jump = [&](const Vector& low, const Vector& high) {
                EXPECT_NEAR(noiseAt(low), noiseAt(high), 8 * step) << cell << " at " << across;
                largest = std::max(largest, std::abs(static_cast<double>(noiseAt(low))));
            };
            const float x = face - shiftX, y = face - shiftY;
            jump({x - step, across, across - shiftZ}, {x + step, across, across - shiftZ});
            jump({across, y - step, -0.5f - shiftZ}, {across, y + step, -0.5f - shiftZ});
        }
    EXPECT_GT(largest, 0.1) << "noise that is flat everywhere is no noise";
}

} // namespace
} // namespace Marl::Tests
