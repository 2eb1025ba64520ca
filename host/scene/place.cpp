#include <host/scene/place.h>

#include <algorithm>
#include <functional>

namespace Marl::Host {

namespace {

constexpr auto thing = [](const auto& entry) { return entry.first; };

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
