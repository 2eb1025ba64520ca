#include <marl/ast/key_times.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace Marl {
namespace {

// For whatever grid the times make: even ones, ones that crowd in a few cells, and spans without a grid.
TEST(KeyTimes, AreCountedUpToAnyTimeBetweenThem)
{
    const auto made = [](int count, auto time) {
        std::vector<double> times;
        for (int i = 0; i < count; ++i)
            times.push_back(time(i));
        return times;
    };
    const double tiny = std::numeric_limits<double>::denorm_min();
    const struct {
        const char* name;
        std::vector<double> times;
    } rows[] = {
        {"two", {-1, 1}},
        {"as many as are counted", made(8, [](int i) { return i / 3.0; })},
        {"one more", made(9, [](int i) { return i / 3.0; })},
        {"even", made(1000, [](int i) { return 100 - 0.1 * (1000 - i); })},
        {"ever further apart", made(300, [](int i) { return i * i - 7.5; })},
        {"powers", made(500, [](int i) { return std::exp2(i - 250); })},
        {"a crowd before one", made(100, [](int i) { return i < 99 ? i * 1e-9 : 1e9; })},
        {"a crowd at the end", made(100, [](int i) { return i < 1 ? -1e9 : i * 1e-9; })},
        {"steps", made(200, [](int i) { return std::floor(i / 50.0); })},
        {"from infinity to infinity", made(30, [](int i) { return i % 29 == 0 ? (i - 1) * HUGE_VAL : i; })},
        {"a span beyond numbers", made(21, [](int i) { return DBL_MAX / 10 * (i - 10); })},
        {"the smallest span", made(40, [tiny](int i) { return std::floor(i / 10.0) * tiny; })},
        {"neighbors", made(50, [](int i) { return 1 + i * DBL_EPSILON; })},
    };
    for (const auto& [name, times] : rows) {
        const KeyTimes keyTimes(times);
        EXPECT_TRUE(std::ranges::equal(keyTimes, times)) << name;
        for (std::size_t i = 0; i + 1 < times.size(); ++i) {
            const double middle = times[i] / 2 + times[i + 1] / 2;
            const double before = std::nextafter(times[i], -HUGE_VAL), behind = std::nextafter(times[i], HUGE_VAL);
            for (const double time : {before, times[i], behind, middle}) {
                const bool isBetween = times.front() < time && time < times.back();
                const auto expected = std::ranges::upper_bound(times, time) - times.begin();
                EXPECT_TRUE(!isBetween || std::cmp_equal(keyTimes.countUpTo(time), expected))
                    << name << " at " << time;
            }
        }
    }
}

} // namespace
} // namespace Marl
