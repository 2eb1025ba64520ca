// What a host without expressions would write for a curve.
#pragma once

#include <benchmarks/suite.h>

#include <algorithm>

namespace Bench {

class Search {
public:
    explicit Search(const Curve& given) : curve(given) {}

    double operator()(double t) const
    {
        const auto& [name, times, values, expected] = curve;
        if (!(t > times.front()))
            return values.front();
        if (t >= times.back())
            return values.back();
        const auto later = static_cast<std::size_t>(std::ranges::upper_bound(times, t) - times.begin());
        const double factor = (t - times[later - 1]) / (times[later] - times[later - 1]);
        return factor * values[later] + (1 - factor) * values[later - 1];
    }

private:
    const Curve& curve;
};

} // namespace Bench
