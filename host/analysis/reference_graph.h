// Who uses whom.
#pragma once

#include <host/scene/scene.h>

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace Marl::Host {

// Properties are known by their index in the scene's list of them. Made from the referrers that
// resolving records, so only references that are bound count.
class ReferenceGraph {
public:
    // Each once, in the order of the file.
    using Neighbors = std::vector<std::size_t>;

    explicit ReferenceGraph(const Scene& scene);

    std::vector<Neighbors> uses;
    std::vector<Neighbors> users;

    std::size_t indexOf(const PropertyAST* property) const { return indices.at(property); }

private:
    std::unordered_map<const PropertyAST*, std::size_t> indices;
};

} // namespace Marl::Host
