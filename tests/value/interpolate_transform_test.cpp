// The way from one transform to another: what its mathematics promises.
#include <marl/value/interpolate_transform.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <random>

namespace Marl::Tests {
namespace {

using Columns = std::array<std::array<float, 3>, 3>;

const Matrix one(1);
constexpr double factors[] = {0.1, 0.25, 1.0 / 3, 0.9};
std::mt19937 engine(7);

Matrix matrixOf(const auto& componentAt)
{
    Columns m;
    for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t i = 0; i < 3; ++i)
            m[k][i] = static_cast<float>(componentAt(k, i));
    return std::bit_cast<Matrix>(m);
}

Matrix operator*(const Matrix& left, const Matrix& right)
{
    const auto a = std::bit_cast<Columns>(left), b = std::bit_cast<Columns>(right);
    return matrixOf([&](auto k, auto i) { return a[0][i] * b[k][0] + a[1][i] * b[k][1] + a[2][i] * b[k][2]; });
}

Matrix blended(const Matrix& from, const Matrix& to, double factor)
{
    const auto a = std::bit_cast<Columns>(from), b = std::bit_cast<Columns>(to);
    const auto wide = [](float x) { return static_cast<double>(x); };
    return matrixOf([&](auto k, auto i) { return wide(a[k][i]) * (1 - factor) + wide(b[k][i]) * factor; });
}

// Olinde Rodrigues' formula, which no quaternion has part in.
Matrix turn(double angle, const TracePoint& axis)
{
    const double c = std::cos(angle), s = std::sin(angle);
    const auto [x, y, z] = axis;
    const double columns[3][3] = {{c + (1 - c) * x * x, (1 - c) * x * y + s * z, (1 - c) * x * z - s * y},
                                  {(1 - c) * x * y - s * z, c + (1 - c) * y * y, (1 - c) * y * z + s * x},
                                  {(1 - c) * x * z + s * y, (1 - c) * y * z - s * x, c + (1 - c) * z * z}};
    return matrixOf([&](auto k, auto i) { return columns[k][i]; });
}

Matrix anyRotation()
{
    std::uniform_real_distribution<> angle(-3.2, 3.2);
    return turn(angle(engine), {1, 0, 0}) * turn(angle(engine), {0, 1, 0}) * turn(angle(engine), {0, 0, 1});
}

void expectNear(const Matrix& actual, const Matrix& expected, double tolerance, const char* story)
{
    const auto a = std::bit_cast<Columns>(actual), b = std::bit_cast<Columns>(expected);
    for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(a[k][i], b[k][i], tolerance) << story << ", row " << i << " of column " << k;
}

Matrix between(const Matrix& a, const Matrix& b, double factor)
{
    return interpolateTransform({a, {}}, {b, {}}, factor).matrix;
}

TEST(InterpolateTransform, AQuarterTurnHalfwayIsAnEighthOfATurn)
{
    const Matrix quarter({0, 1, 0}, {-1, 0, 0}, {0, 0, 1});
    const Matrix eighth({0.70710678f, 0.70710678f, 0}, {-0.70710678f, 0.70710678f, 0}, {0, 0, 1});
    const Matrix twelfthBack({0.8660254f, -0.5f, 0}, {0.5f, 0.8660254f, 0}, {0, 0, 1});
    expectNear(between(one, quarter, 0.5), eighth, 1e-6, "eighth of a turn");
    expectNear(between(Matrix(2), quarter * Matrix(4), 0.5), eighth * Matrix(3), 1e-6, "while it grows");
    expectNear(between(one, quarter * quarter * quarter, 1.0 / 3), twelfthBack, 1e-6, "the short way");
    const Matrix half = between(one, quarter * quarter, 0.5);
    expectNear(half * half, quarter * quarter, 1e-6, "either way of half a turn");
    const Transform a{one, {0.1f, 1, 16777216}}, b{quarter, {0.7f, 1, 16777218}};
    EXPECT_EQ(interpolateTransform(a, b, 0.25).offset, (Vector{0.25f, 1, 16777216}));
}

TEST(InterpolateTransform, TurnsEvenlyTheShortWayAndKeepsMirrors)
{
    std::uniform_real_distribution<> angles(-3, 3); // by half a turn either way is as short
    std::uniform_real_distribution<float> along(1.5f, 3), across(-0.5f, 0.5f);
    const auto anyStretch = [&] {
        const float xy = across(engine), xz = across(engine), yz = across(engine);
        return Matrix({along(engine), xy, xz}, {xy, along(engine), yz}, {xz, yz, along(engine)});
    };
    const Matrix mirror({1, 0, 0}, {0, 1, 0}, {0, 0, -1});
    for (int round = 0; round < 500; ++round) {
        const Matrix start = anyRotation(), earlier = anyStretch(), later = anyStretch();
        const double angle = round == 0 ? 0 : angles(engine), up = angles(engine), around = angles(engine);
        const TracePoint axis{std::cos(up) * std::cos(around), std::cos(up) * std::sin(around), std::sin(up)};
        const auto at = [&](double f) { return start * turn(angle * f, axis) * blended(earlier, later, f); };
        for (const double factor : factors) {
            expectNear(between(at(0), at(1), factor), at(factor), 1e-5, "on the way");
            expectNear(between(at(0) * mirror, at(1) * mirror, factor), at(factor) * mirror, 1e-5, "mirrored");
        }
        EXPECT_EQ(between(at(0), at(1), 0), at(0));
        EXPECT_EQ(between(at(0), at(1), 1), at(1));
    }
}

TEST(InterpolateTransform, BlendsComponentsWhereThereIsNoSplit)
{
    const Transform regular{turn(1, {0.6, 0, 0.8}), {3e38f, -3e38f, 0.1f}};
    const Matrix others[] = {
        // clang-format off
        {{-1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, // mirrored, the other is not
        {{1, 2, 3}, {2, 4, 6}, {0, 0, 1}},  // two columns in one direction
        {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}},  // all in one plane
        Matrix(0),
        {{HUGE_VALF, 0, 0}, {0, 1, 0}, {0, 0, 1}},
        // clang-format on
    };
    for (const Matrix& other : others) {
        for (const double factor : factors)
            EXPECT_EQ(between(other, regular.matrix, factor), blended(other, regular.matrix, factor));
        const Transform end{other, {HUGE_VALF, 1, 1e-45f}};
        EXPECT_EQ(interpolateTransform(end, regular, 0), end);
        EXPECT_EQ(interpolateTransform(end, regular, 1), regular);
    }
    const Matrix half = between(one, {{std::nanf(""), 0, 0}, {0, 2, 0}, {0, 0, 2}}, 0.5);
    EXPECT_TRUE(std::isnan(half.columns[0].x));
    EXPECT_EQ(half.columns[1], (Vector{0, 1.5f, 0}));
}

TEST(InterpolateTransform, NeverMakesANanOutOfFiniteInput)
{
    const float choices[] = {0, -0.0f, 1, -1, FLT_MAX, -FLT_MAX, FLT_TRUE_MIN, -FLT_TRUE_MIN, 1e-38f, 1e19f, 1e-19f};
    const auto choice = [&] { return choices[engine() % std::size(choices)]; };
    const auto any = [&] {
        return Transform{matrixOf([&](auto, auto) { return choice(); }), {choice(), choice(), choice()}};
    };
    for (int round = 0; round < 20'000; ++round)
        for (const double factor : {1e-300, 0.3, 1 - 0x1p-53}) {
            const Transform t = interpolateTransform(any(), any(), factor);
            ASSERT_EQ(t, t) << round << " at " << factor; // a NaN differs from itself
        }
}

} // namespace
} // namespace Marl::Tests
