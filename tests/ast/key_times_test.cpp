#include <marl/ast/key_times.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>
#include <vector>

namespace Marl {
namespace {

// For whatever grid the times make: even ones, ones that crowd in a few cells, and spans without a grid.
TEST(KeyTimes, AreCountedUpToAnyTimeBetweenThem)
{
    const struct {
        const char* name;
        int count;
        double (*time)(int);
    } rows[] = {
        {"two", 2, [](int i) { return 2.0 * i - 1; }},
        {"as many as are counted", 8, [](int i) { return i / 3.0; }},
        {"one more", 9, [](int i) { return i / 3.0; }},
        {"even", 1000, [](int i) { return 100 - 0.1 * (1000 - i); }},
        {"ever further apart", 300, [](int i) { return i * i - 7.5; }},
        {"powers", 500, [](int i) { return std::exp2(i - 250); }},
        {"a crowd before one", 100, [](int i) { return i < 99 ? i * 1e-9 : 1e9; }},
        {"a crowd at the end", 100, [](int i) { return i < 1 ? -1e9 : i * 1e-9; }},
        {"steps", 200, [](int i) { return std::floor(i / 50.0); }},
        {"from infinity to infinity", 30, [](int i) { return i % 29 == 0 ? (i - 1) * HUGE_VAL : i; }},
        {"a span beyond numbers", 21, [](int i) { return DBL_MAX / 10 * (i - 10); }},
        {"the smallest span", 40, [](int i) { return std::floor(i / 10.0) * DBL_TRUE_MIN; }},
        {"neighbors", 50, [](int i) { return 1 + i * DBL_EPSILON; }},
    };
    for (const auto& row : rows) {
        std::vector<double> times;
        for (int i = 0; i < row.count; ++i)
            times.push_back(row.time(i));
        const KeyTimes keyTimes(times);
        EXPECT_TRUE(std::ranges::equal(keyTimes, times)) << row.name;
        for (std::size_t i = 0; i + 1 < times.size(); ++i) {
            const double middle = times[i] / 2 + times[i + 1] / 2;
            for (const double time :
                 {times[i], middle, std::nextafter(times[i], -HUGE_VAL), std::nextafter(times[i], HUGE_VAL)}) {
                const bool isBetween = times.front() < time && time < times.back();
                const auto expected = std::ranges::upper_bound(times, time) - times.begin();
                EXPECT_TRUE(!isBetween || std::cmp_equal(keyTimes.countUpTo(time), expected))
                    << row.name << " at " << time;
            }
        }
    }
}

} // namespace
} // namespace Marl
