// The constant times of a curve's keys, and the search among them.
#pragma once

#include <marl/api.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Marl {

// Times in ascending order. A search among ten thousand costs little more than one among eight: the
// span of the times is divided into cells of equal length, of which each knows where its times begin.
class MARL_API KeyTimes {
public:
    KeyTimes() = default;
    // Ascending, and none of them NaN.
    explicit KeyTimes(std::vector<double> ascending);

    bool empty() const { return times.empty(); }
    std::size_t size() const { return empty() ? 0 : times.size() - few; }
    const double* begin() const { return times.data(); }
    const double* end() const { return begin() + size(); }
    double operator[](std::size_t index) const { return times[index]; }
    double front() const { return times[0]; }
    double back() const { return times[times.size() - few - 1]; }

    // How many of the times are not behind the given one, which lies after the first and before the last.
    std::size_t countUpTo(double time) const;

private:
    // So many times are counted instead of searched: a count has no branch that could be foreseen
    // wrongly. Cells hold half as many on average.
    static constexpr std::size_t few = 8;

    std::size_t cellOf(double time) const;

    std::vector<double> times;             // and a few infinities, so that a few can be counted from anywhere
    std::vector<std::uint32_t> cellBegins; // and the end of the last; empty when one cell is enough
    double cellsPerTime = 0;
};

} // namespace Marl
