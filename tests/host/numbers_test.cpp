// Numbers as text.
#include <host/output/json_text.h>
#include <host/output/value_text.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <random>

namespace Marl::Host {

namespace {

TEST(Numbers, ReadBackToTheSameBits)
{
    std::vector<double> doubles = {
        0.0, -0.0, 0.1, 1e22, 9007199254740993.0, 5e-324, 1.7976931348623157e308, 123456789012345680.0};
    std::vector<float> floats = {0.1f, -0.0f, 16777217.0f, 1e-45f, 3.4028235e38f, 8.5899346e9f};
    std::mt19937_64 random(17);
    for (int i = 0; i < 20'000; ++i) {
        const std::uint64_t bits = random();
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

} // namespace

} // namespace Marl::Host
