#include <host/analysis/reference_graph.h>

#include <algorithm>

namespace Marl::Host {

ReferenceGraph::ReferenceGraph(const Scene& scene) : uses(scene.properties.size()), users(scene.properties.size())
{
    for (std::size_t i = 0; i < scene.properties.size(); ++i)
        indices.emplace(scene.properties[i].property, i);

    for (std::size_t used = 0; used < scene.properties.size(); ++used) {
        Neighbors& found = users[used];
        for (const auto* referrer = scene.properties[used].property->referrers; referrer; referrer = referrer->next)
            found.push_back(indexOf(referrer->property));
        std::ranges::sort(found);
        found.erase(std::unique(found.begin(), found.end()), found.end());
        for (const std::size_t user : found)
            uses[user].push_back(used);
    }
}

} // namespace Marl::Host
