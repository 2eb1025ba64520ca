// The way from one transform to another: what its mathematics promises.
#include <marl/value/interpolate_transform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace Marl::Tests {
namespace {

constexpr double quarter = std::numbers::pi / 2;
constexpr double factors[] = {0.1, 0.25, 1.0 / 3, 0.9};
const Matrix one(1);

float component(const Matrix& m, int column, int row)
{
    const Vector& c = m.columns[column];
    return row == 0 ? c.x : row == 1 ? c.y : c.z;
}

// From a function of column and row.
Matrix matrixOf(const auto& componentAt)
{
    Matrix m;
    for (int k = 0; k < 3; ++k)
        m.columns[k] = {static_cast<float>(componentAt(k, 0)), static_cast<float>(componentAt(k, 1)),
                        static_cast<float>(componentAt(k, 2))};
    return m;
}

Matrix operator*(const Matrix& a, const Matrix& b)
{
    const auto term = [&](int k, int i, int j) { return component(a, j, i) * component(b, k, j); };
    return matrixOf([&](int k, int i) { return term(k, i, 0) + term(k, i, 1) + term(k, i, 2); });
}

Matrix transposed(const Matrix& m)
{
    return matrixOf([&](int k, int i) { return component(m, i, k); });
}

Matrix stretch(float x, float y, float z)
{
    return {{x, 0, 0}, {0, y, 0}, {0, 0, z}};
}

// The rotation of a quaternion of any length.
Matrix rotationOf(double w, double x, double y, double z)
{
    const double n = 2 / (w * w + x * x + y * y + z * z);
    const double columns[3][3] = {{1 - n * (y * y + z * z), n * (x * y + w * z), n * (x * z - w * y)},
                                  {n * (x * y - w * z), 1 - n * (x * x + z * z), n * (y * z + w * x)},
                                  {n * (x * z + w * y), n * (y * z - w * x), 1 - n * (x * x + y * y)}};
    return matrixOf([&](int k, int i) { return columns[k][i]; });
}

Matrix turn(double angle, const TracePoint& axis)
{
    const double s = std::sin(angle / 2);
    return rotationOf(std::cos(angle / 2), s * axis.x, s * axis.y, s * axis.z);
}

std::mt19937 engine(7);

Matrix anyRotation()
{
    std::normal_distribution<> part;
    return rotationOf(part(engine), part(engine), part(engine), part(engine));
}

double angleBetween(const Matrix& a, const Matrix& b)
{
    const Matrix way = transposed(a) * b;
    const float trace = way.columns[0].x + way.columns[1].y + way.columns[2].z;
    return static_cast<double>(std::acos(std::clamp((trace - 1) / 2, -1.0f, 1.0f)));
}

void expectNear(const Matrix& actual, const Matrix& expected, double tolerance, const char* story)
{
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(component(actual, k, i), component(expected, k, i), tolerance)
                << story << ", row " << i << " of column " << k;
}

Matrix between(const Matrix& a, const Matrix& b, double factor)
{
    return interpolateTransform({a, {}}, {b, {}}, factor).matrix;
}

TEST(InterpolateTransform, AQuarterTurnHalfwayIsAnEighthOfATurn)
{
    for (const TracePoint& axis : {TracePoint{1, 0, 0}, {0, 1, 0}, {0, 0, -1}, {0.6, 0, 0.8}}) {
        const auto about = [axis](double angle) { return turn(angle, axis); };
        expectNear(between(one, about(quarter), 0.5), about(quarter / 2), 1e-6, "eighth of a turn");
        expectNear(between(about(-quarter), about(quarter * 0.9), 0.5), about(-quarter * 0.05), 1e-6, "past zero");
        expectNear(between(one, about(3 * quarter), 1.0 / 3), about(-quarter / 3), 1e-6, "the short way");
        const Matrix half = between(one, about(2 * quarter), 0.5);
        expectNear(half * half, about(2 * quarter), 1e-6, "either way of half a turn");
    }
}

TEST(InterpolateTransform, GivesTheEndsBackExactly)
{
    const Transform ends[] = {{turn(1, {0.6, 0, 0.8}), {0.1f, -0.0f, 1e-45f}},
                              {stretch(-1, 2, 3), {3e38f, -3e38f, 0}},
                              {stretch(HUGE_VALF, 0, 1e-45f), {HUGE_VALF, 0, 0}}};
    for (const Transform& a : ends)
        for (const Transform& b : ends) {
            EXPECT_EQ(interpolateTransform(a, b, 0), a);
            EXPECT_EQ(interpolateTransform(a, b, 1), b);
        }
}

TEST(InterpolateTransform, TurnsEvenlyAndKeepsMirrors)
{
    const Matrix mirror = stretch(1, 1, -1);
    for (int round = 0; round < 500; ++round) {
        const Matrix a = anyRotation(), b = anyRotation();
        const double whole = angleBetween(a, b);
        if (whole > 3) // nearly half a turn: either way is as short
            continue;
        for (const double factor : factors) {
            const Matrix m = between(a, b, factor);
            expectNear(transposed(m) * m, one, 1e-6, "a rotation");
            EXPECT_NEAR(angleBetween(a, m), factor * whole, 2e-3) << round;
            EXPECT_NEAR(angleBetween(m, b), (1 - factor) * whole, 2e-3) << round;
            expectNear(between(a * mirror, b * mirror, factor), m * mirror, 1e-5, "mirrored");
        }
    }
}

TEST(InterpolateTransform, BlendsStretchAndOffset)
{
    expectNear(between(stretch(2, 1, 1), stretch(4, 1, 3), 0.5), stretch(3, 1, 2), 1e-6, "stretch alone");
    const Matrix turned = turn(quarter, {0, 0, 1}), eighth = turn(quarter / 2, {0, 0, 1});
    expectNear(between(Matrix(2), turned * Matrix(4), 0.5), eighth * Matrix(3), 1e-6, "stretch and rotation");
    const Transform a{one, {0.1f, 1, 16777216}}, b{turned, {0.7f, 1, 16777218}};
    EXPECT_EQ(interpolateTransform(a, b, 0.25).offset, (Vector{0.25f, 1, 16777216}));
}

TEST(InterpolateTransform, BlendsComponentsWhereThereIsNoSplit)
{
    const Matrix regular = turn(1, {0.6, 0, 0.8});
    const Matrix others[] = {
        // clang-format off
        stretch(-1, 1, 1),                 // mirrored, the other is not
        {{1, 2, 3}, {2, 4, 6}, {0, 0, 1}}, // two columns in one direction
        {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, // all in one plane
        Matrix(0),
        stretch(HUGE_VALF, 1, 1),
        // clang-format on
    };
    for (const Matrix& other : others)
        for (const double f : factors) {
            const auto wide = [](float x) { return static_cast<double>(x); };
            EXPECT_EQ(between(other, regular, f), matrixOf([&](int k, int i) {
                          return wide(component(other, k, i)) * (1 - f) + wide(component(regular, k, i)) * f;
                      }));
        }
    const Matrix half = between(one, stretch(std::nanf(""), 2, 2), 0.5);
    EXPECT_TRUE(std::isnan(half.columns[0].x));
    EXPECT_EQ(half.columns[1], (Vector{0, 1.5f, 0}));
}

TEST(InterpolateTransform, IsTheSameFromEitherEndAndInAnyFrame)
{
    std::uniform_real_distribution<float> scale(0.3f, 3);
    // Stretched along axes of its own, then turned.
    const auto stretched = [&](const Matrix& turned) {
        const Matrix axes = anyRotation();
        return turned * axes * stretch(scale(engine), scale(engine), scale(engine)) * transposed(axes);
    };
    for (int round = 0; round < 200; ++round) {
        const Matrix turnA = anyRotation(), turnB = anyRotation(), frame = anyRotation();
        if (angleBetween(turnA, turnB) > 3)
            continue;
        const Matrix a = stretched(turnA), b = stretched(turnB);
        for (const double factor : factors) {
            const Matrix m = between(a, b, factor);
            expectNear(between(b, a, 1 - factor), m, 1e-5, "from the other end");
            expectNear(between(frame * a, frame * b, factor), frame * m, 1e-4, "in another frame");
            expectNear(between(a, a, factor), a, 1e-5, "no way to go");
        }
    }
}

TEST(InterpolateTransform, NeverMakesANanOutOfFiniteInput)
{
    const float huge = std::numeric_limits<float>::max(), tiny = std::numeric_limits<float>::denorm_min();
    const float choices[] = {0, -0.0f, 1, -1, huge, -huge, tiny, -tiny, 1e-38f, 1e19f, 1e-19f, 0.5f, 3};
    const auto choice = [&] { return choices[engine() % std::size(choices)]; };
    const auto any = [&] {
        return Transform{matrixOf([&](int, int) { return choice(); }), {choice(), choice(), choice()}};
    };
    for (int round = 0; round < 20'000; ++round)
        for (const double factor : {1e-300, 0.3, 1 - 0x1p-53}) {
            const Transform t = interpolateTransform(any(), any(), factor);
            ASSERT_EQ(t, t) << round << " at " << factor; // a NaN differs from itself
        }
}

} // namespace
} // namespace Marl::Tests
