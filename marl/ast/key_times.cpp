#include <marl/ast/key_times.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace Marl {

KeyTimes::KeyTimes(std::vector<double> ascending) : times(std::move(ascending))
{
    if (times.empty())
        return;
    times.insert(times.end(), few, std::numeric_limits<double>::infinity());
    const double span = back() - front();
    const std::size_t cells = size() / (few / 2);
    cellsPerTime = static_cast<double>(cells) / span;
    if (size() <= few || !std::isfinite(span) || !std::isfinite(cellsPerTime))
        return;
    cellBegins.resize(cells + 1);
    for (std::size_t i = 0; i < size(); ++i)
        cellBegins[cellOf(times[i]) + 1] = static_cast<std::uint32_t>(i + 1);
    std::inclusive_scan(cellBegins.begin(), cellBegins.end(), cellBegins.begin(),
                        [](auto a, auto b) { return std::max(a, b); });
}

// The time must not be before the first. Rounding keeps order: what lies in an earlier cell is earlier.
std::size_t KeyTimes::cellOf(double time) const
{
    const auto cell = static_cast<std::ptrdiff_t>((time - front()) * cellsPerTime);
    return std::min(static_cast<std::size_t>(cell), cellBegins.size() - 2);
}

std::size_t KeyTimes::countUpTo(double time) const
{
    const double *first = begin(), *last = end();
    if (!cellBegins.empty()) {
        const std::size_t cell = cellOf(time);
        first = begin() + cellBegins[cell];
        last = begin() + cellBegins[cell + 1];
    }
    while (static_cast<std::size_t>(last - first) > few) {
        const double* middle = first + (last - first) / 2;
        if (*middle <= time)
            first = middle;
        else
            last = middle;
    }
    const auto counted = std::count_if(first, first + few, [time](double earlier) { return earlier <= time; });
    return static_cast<std::size_t>(first - begin() + counted);
}

} // namespace Marl
