// How high trees are whose references go round.
#include <marl/compiled/detail/graph.h>

#include <algorithm>
#include <climits>
#include <iterator>

namespace Marl {

// A circle that is closed by references is found when a property is entered again, so a walk through it goes
// at most twice through each of its nodes, or through all of them for each property where they are shared. A
// circle without references has no end but the limit.
int Graph::heightOfCircle(std::span<const NodeIndex> members, std::span<const NodeIndex> component) const
{
    const NodeIndex circle = component[members.front()];
    std::unordered_map<NodeIndex, int> openChildren; // within the circle, references left out
    std::unordered_map<NodeIndex, std::vector<NodeIndex>> parents;
    std::size_t properties = 0;
    int below = 0;
    bool isShared = false;
    for (const NodeIndex member : members) {
        int& open = openChildren[member];
        properties += nodes[member].isReference ? 1 : 0;
        below = std::max(below, nodes[member].leastBelow);
        for (const NodeIndex next : childrenOf(member))
            if (component[next] != circle) {
                below = std::max(below, nodes[next].height);
            } else if (!nodes[member].isReference) {
                ++open;
                isShared |= !parents[next].empty();
                parents[next].push_back(member);
            }
    }

    // Without references the nodes can be taken off from the ends, unless they go round.
    std::vector<NodeIndex> ends;
    for (const auto& [member, open] : openChildren)
        if (open == 0)
            ends.push_back(member);
    std::size_t taken = 0;
    for (; !ends.empty(); ++taken) {
        const NodeIndex end = ends.back();
        ends.pop_back();
        for (const NodeIndex parent : parents[end])
            if (--openChildren[parent] == 0)
                ends.push_back(parent);
    }

    const std::size_t size = members.size();
    const std::size_t most = isShared ? (properties + 2) * (size + 1) : 2 * size + 2;
    constexpr int endless = INT_MAX / 4;
    if (taken < size || below >= endless || most >= endless)
        return INT_MAX;
    return below + static_cast<int>(most);
}

// Strongly connected components (Robert Tarjan, "Depth-First Search and Linear Graph Algorithms", 1972), which
// come in an order in which each lies behind those that it reaches.
void Graph::findHeightsOfCircles()
{
    constexpr NodeIndex unseen = ~NodeIndex(0);
    struct Open {
        NodeIndex node;
        std::uint32_t nextChild;
    };
    std::vector<NodeIndex> order(nodes.size(), unseen), lowest(nodes.size()), component(nodes.size(), unseen);
    std::vector<NodeIndex> waiting;
    std::vector<Open> open;
    NodeIndex seen = 0, components = 0;

    const auto finish = [&](std::span<const NodeIndex> members) {
        for (const NodeIndex member : members)
            component[member] = components;
        ++components;
        const NodeIndex first = members.front();
        const auto below = childrenOf(first);
        if (members.size() == 1 && std::ranges::find(below, first) == below.end()) {
            if (!nodes[first].isTyped) // what is typed reaches no circle
                nodes[first].height = heightOf(nodes[first]);
            return;
        }
        const int height = heightOfCircle(members, component);
        for (const NodeIndex member : members)
            nodes[member].height = height;
    };
    const auto enter = [&](NodeIndex node) {
        order[node] = lowest[node] = seen++;
        waiting.push_back(node);
        open.push_back({node, 0});
    };

    for (const NodeIndex root : roots) {
        if (order[root] == unseen)
            enter(root);
        while (!open.empty()) {
            const NodeIndex node = open.back().node;
            const auto below = childrenOf(node);
            if (open.back().nextChild < below.size()) {
                const NodeIndex next = below[open.back().nextChild++];
                if (order[next] == unseen)
                    enter(next);
                else if (component[next] == unseen)
                    lowest[node] = std::min(lowest[node], order[next]);
                continue;
            }
            if (lowest[node] == order[node]) {
                const auto first = std::find(waiting.rbegin(), waiting.rend(), node).base() - 1;
                finish({first, waiting.end()});
                waiting.erase(first, waiting.end());
            }
            open.pop_back();
            if (!open.empty())
                lowest[open.back().node] = std::min(lowest[open.back().node], lowest[node]);
        }
    }
}

} // namespace Marl
