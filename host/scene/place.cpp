#include <host/scene/place.h>

#include <algorithm>
#include <cstdint>
#include <functional>

namespace Marl::Host {

namespace {

constexpr auto thing = [](const auto& entry) { return entry.first; };

// A node's number holds its length, which is never zero, behind where it begins. No message underlines more
// than a line, so the length may be cut.
constexpr int lengthBits = 24;
constexpr std::int64_t mostLength = (std::int64_t(1) << lengthBits) - 1;

} // namespace

void PlaceTable::note(ExpressionAST* node, Span span)
{
    const std::int64_t length = std::min(span.end - span.begin, mostLength);
    node->hostData = static_cast<std::uint64_t>(span.begin << lengthBits | length);
}

std::optional<Span> PlaceTable::find(const ExpressionAST* node) const
{
    if (!node || node->hostData == 0)
        return std::nullopt;
    const auto begin = static_cast<std::int64_t>(node->hostData >> lengthBits);
    return Span{begin, begin + (static_cast<std::int64_t>(node->hostData) & mostLength)};
}

void PlaceTable::seal()
{
    std::ranges::sort(places, std::ranges::less(), thing);
    places.shrink_to_fit();
}

std::optional<Span> PlaceTable::find(const void* wanted) const
{
    const auto found = std::ranges::lower_bound(places, wanted, std::ranges::less(), thing);
    return found != places.end() && found->first == wanted ? std::optional(found->second) : std::nullopt;
}

} // namespace Marl::Host
