// The noise: its bits, what gradient noise promises, and that many points at once are no different.
#include <marl/value/detail/noise.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace Marl::Tests {
namespace {

// All 256 entries of both tables are met along each axis. The number is worked out elsewhere: FNV-1a
// over the bytes of the results.
TEST(Noise, HasItsBits)
{
    std::uint32_t digest = 2166136261u;
    for (float Vector::*axis : {&Vector::x, &Vector::y, &Vector::z})
        for (int step = 0; step < 256; ++step) {
            Vector point{0.25f, 0.5f, 0.5f};
            point.*axis += static_cast<float>(step);
            const auto bits = std::bit_cast<std::uint32_t>(noise(point));
            for (int shift = 0; shift < 32; shift += 8)
                digest = (digest ^ (bits >> shift & 255u)) * 16777619u;
        }
    EXPECT_EQ(digest, 0x1b48a72bu);

    const struct {
        const char* name;
        Vector point;
        float noise;
    } rows[] = {
        {"origin", {0, 0, 0}, 0x1.cf5332p-11f},
        {"lattice point", {-0.3333f, -0.1111f, -1}, 0},
        {"negative", {-100.75f, -0.2f, 7}, 0x1.b1306p-2f},
        {"on a face", {0.6667f, 0.8889f, 0.5f}, 0x1.0c6328p-4f},
        {"round the tables", {255.9f, -256.4f, 300}, 0x1.bf2dbcp-3f},
        {"smaller than normal", {1e-40f, -1e-40f, 1e-40f}, 0x1.cf5332p-11f},
        {"large", {1e6f, -1e6f, 1e6f}, 0x1.141a4ep-2f},
        {"the lowest cell", {-2147483648.0f, 1, 2}, 0x1.6d49c8p-6f},
        {"above all cells", {3e9f, 0.5f, 0.5f}, HUGE_VALF},
        {"below all cells", {0.5f, 0.5f, -1e10f}, -HUGE_VALF},
    };
    for (const auto& row : rows)
        EXPECT_EQ(noise(row.point), row.noise) << row.name;
    EXPECT_TRUE(std::isnan(noise({0, NAN, 0})));
    EXPECT_TRUE(std::isnan(noise({HUGE_VALF, 0, 0})));
}

// Between two planes of the lattice nothing jumps, on neither side of zero. (z moves by halves alone.)
TEST(Noise, IsContinuousAcrossCellFaces)
{
    for (const auto& [axis, shift] : {std::pair(&Vector::x, 0.3333f), std::pair(&Vector::y, 0.1111f)})
        for (int plane = -300; plane <= 300; plane += 5) {
            Vector point{7.3f, -2.6f, 1.5f};
            float before = 0;
            for (int step = -3; step <= 3; ++step) {
                point.*axis = static_cast<float>(plane) - shift + static_cast<float>(step) * 1e-4f;
                const float here = noise(point);
                EXPECT_NEAR(here, step > -3 ? before : here, 1e-3f) << plane;
                before = here;
            }
        }
}

TEST(Noise, RepeatsAfterTheTables)
{
    for (float z = -300; z < 300; z += 0.5f)
        EXPECT_EQ(noise({0.4f, -9.2f, z}), noise({0.4f, -9.2f, z + 256})) << z;
}

struct Points {
    std::vector<float> x, y, z;
};

// Half of them are any bits at all; the others lie where cells are.
Points anyPoints(std::size_t count)
{
    std::mt19937_64 random(1);
    const auto coordinate = [&] {
        const std::uint64_t dice = random();
        const auto bits = static_cast<std::uint32_t>(dice >> 32);
        if (dice % 2 == 0)
            return std::bit_cast<float>(bits);
        const auto exponent = static_cast<int>((dice >> 1) % 36) - 31;
        const float scattered = std::ldexp(static_cast<float>(static_cast<std::int32_t>(bits)), exponent);
        return dice % 16 == 1 ? std::round(scattered) : scattered;
    };
    Points points;
    for (std::vector<float>* axis : {&points.x, &points.y, &points.z})
        for (std::size_t i = 0; i < count; ++i)
            axis->push_back(coordinate());
    return points;
}

void expectSame(const Points& points, std::size_t first, std::size_t count)
{
    constexpr float untouched = 77;
    std::vector<float> results(count + 8, untouched);
    noise(&points.x[first], &points.y[first], &points.z[first], results.data(), static_cast<int>(count));
    for (std::size_t i = 0; i < count; ++i) {
        const Vector point{points.x[first + i], points.y[first + i], points.z[first + i]};
        const float alone = noise(point), among = results[i];
        const bool isSame = std::isnan(alone)
            ? std::isnan(among)
            : std::bit_cast<std::uint32_t>(alone) == std::bit_cast<std::uint32_t>(among);
        ASSERT_TRUE(isSame) << point.x << " " << point.y << " " << point.z << ": " << alone << ", " << among;
    }
    for (std::size_t i = count; i < results.size(); ++i)
        ASSERT_EQ(results[i], untouched);
}

TEST(Noise, IsTheSameAtManyPointsAtOnce)
{
    const Points points = anyPoints(200'000);
    for (std::size_t count = 0; count <= 40; ++count)
        expectSame(points, 41 * count, count);
    expectSame(points, 0, points.x.size());
}

} // namespace
} // namespace Marl::Tests
