// Numbers of the host: written, counted and drawn.
#include <tests/host/scratch.h>

#include <host/commands/times.h>
#include <host/output/json_text.h>
#include <host/output/value_text.h>
#include <host/scene/sample.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>

namespace Marl::Host {

namespace {

std::uint64_t nextRandom(std::uint64_t& state)
{
    state ^= state << 13;
    state ^= state >> 7;
    return state ^= state << 17;
}

TEST(Numbers, ReadBackToTheSameBits)
{
    std::vector<double> doubles = {
        0.0, -0.0, 0.1, 1e22, 9007199254740993.0, 5e-324, 1.7976931348623157e308, 123456789012345680.0};
    std::vector<float> floats = {0.1f, -0.0f, 16777217.0f, 1e-45f, 3.4028235e38f, 8.5899346e9f};
    std::uint64_t state = 88172645463325252;
    for (int i = 0; i < 20'000; ++i) {
        const std::uint64_t bits = nextRandom(state);
        doubles.push_back(std::bit_cast<double>(bits));
        floats.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    }
    const auto bitsOf = [](double number) { return std::bit_cast<std::uint64_t>(number); };
    for (const double number : doubles)
        if (std::isfinite(number)) {
            EXPECT_EQ(bitsOf(std::strtod(numberText(number).c_str(), nullptr)), bitsOf(number));
            EXPECT_EQ(bitsOf(nlohmann::json::parse(jsonNumber(number)).get<double>()), bitsOf(number));
        }
    for (const float number : floats)
        if (std::isfinite(number)) {
            const auto narrowed = static_cast<float>(std::strtod(numberText(number).c_str(), nullptr));
            EXPECT_EQ(std::bit_cast<std::uint32_t>(narrowed), std::bit_cast<std::uint32_t>(number))
                << numberText(number);
        }
}

TEST(Times, AreCountedWithoutAddingUpErrors)
{
    const struct {
        const char* from;
        const char* to;
        const char* step;
        std::size_t count;
        double last;
    } rows[] = {
        {"0", "10", "5", 3, 10},
        {"0", "9", "5", 2, 5},
        {"0", "0.3", "0.1", 4, 3 * 0.1},
        {"0", "1", "0.1", 11, 1},
        {"1", "0", "-0.25", 5, 0},
        {"2", "2", "1", 1, 2},
        {"-1", "1", "0.1", 21, -1 + 20 * 0.1},
        {"1e9", "1000000000.3", "0.1", 4, 1e9 + 3 * 0.1},
        {"0", "1e-300", "1e-301", 11, 10 * 1e-301},
    };
    for (const auto& row : rows) {
        const Times times = parseTimes({"", row.from, row.to, row.step});
        EXPECT_EQ(times.count, row.count) << row.from << " " << row.to << " " << row.step;
        EXPECT_EQ(times[times.count - 1], row.last);
    }
}

// Computed apart: FNV-1a over name, 0, name, 0, occurrence and seed, splitmix64's finalizer, 24 bits.
TEST(Samples, AreDrawnFromNames)
{
    const struct {
        const char* object;
        const char* property;
        std::uint32_t occurrence;
        float sample;
    } rows[] = {
        {"o", "p", 0, 0x1.e00c780000000p-3f}, {"o", "p", 1, 0x1.68244a0000000p-1f},
        {"o", "p", 2, 0x1.944f400000000p-2f}, {"lamp", "power", 0, 0x1.0169580000000p-2f},
        {"é", "", 7, 0x1.e5e9400000000p-4f},
    };
    for (const auto& row : rows)
        EXPECT_EQ(drawSample(row.object, row.property, row.occurrence, 0), row.sample) << row.object;
}

} // namespace

} // namespace Marl::Host
