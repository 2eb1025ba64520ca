#include <host/report/did_you_mean.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace Marl::Host {

namespace {

// How many letters must be changed, left out, added or swapped with their neighbors to make one of
// the other; more than `most` is as good as any number above it.
std::size_t editDistance(std::string_view a, std::string_view b, std::size_t most)
{
    if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > most)
        return most + 1;
    std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        last[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        if (*std::ranges::min_element(row) > most)
            return most + 1;
        std::swap(beforeLast, last);
        std::swap(last, row);
    }
    return last[b.size()];
}

} // namespace

std::string didYouMean(std::string_view wrong, std::span<const std::string_view> names)
{
    // Of equally near names the one of the same length: letters change places more often than they go.
    const auto lengthDifference = [&](std::string_view name) {
        return std::max(name.size(), wrong.size()) - std::min(name.size(), wrong.size());
    };
    std::size_t most = (wrong.size() + 1) / 3;
    std::string_view nearest;
    for (const std::string_view name : names) {
        const std::size_t distance = editDistance(wrong, name, most);
        if (distance > most
            || (!nearest.empty() && distance == most && lengthDifference(name) >= lengthDifference(nearest)))
            continue;
        nearest = name;
        most = distance;
    }
    return nearest.empty() ? std::string() : "Did you mean `" + std::string(nearest) + "`?";
}

} // namespace Marl::Host
