#include <host/analysis/visit_count.h>

#include <host/analysis/children.h>

#include <algorithm>
#include <vector>

namespace Marl::Host {

namespace {

using Counts = std::vector<std::uint64_t>;

std::uint64_t sum(const Counts& counts)
{
    std::uint64_t total = 0;
    for (const std::uint64_t count : counts)
        total = std::min(VisitCounter::countless, total + count);
    return total;
}

// Times that are known need no visit; of the values those of two neighbors are visited at most.
std::uint64_t visitsOfKeys(const InterpolateExpressionAST& node, const Counts& children)
{
    Counts times;
    std::uint64_t most = 0;
    for (std::size_t i = 0; i + 1 < children.size(); i += 2) {
        if (node.constantTimes().times.empty())
            times.push_back(children[i]);
        const std::uint64_t earlier = i > 0 ? children[i - 1] : 0;
        most = std::max(most, sum({earlier, children[i + 1]}));
    }
    times.push_back(most);
    return sum(times);
}

} // namespace

VisitCounter::Count VisitCounter::counted(const PropertyAST* property) const
{
    const auto found = counts.find(property);
    return found == counts.end() ? Count() : found->second;
}

std::uint64_t VisitCounter::visitsOf(const PropertyAST* property)
{
    // A property is looked at twice: first what it refers to has to be counted, then the property.
    std::vector<const PropertyAST*> waiting = {property};
    while (!waiting.empty()) {
        const PropertyAST* current = waiting.back();
        const bool isNew = counts.try_emplace(current).second;
        if (isNew) {
            walk(current->expression, [&](ExpressionAST* node) {
                const auto* reference = dynamic_cast<PropertyReferenceAST*>(node);
                if (reference && reference->property && !counts.contains(reference->property))
                    waiting.push_back(reference->property);
            });
            continue;
        }
        waiting.pop_back();
        if (!counts.at(current).isKnown)
            counts[current] = countExpression(current->expression);
    }
    return counts.at(property).whole;
}

// Without recursion: a node stands before those below it, so from the back all below is counted.
VisitCounter::Count VisitCounter::countExpression(ExpressionAST* expression) const
{
    struct Entry {
        ExpressionAST* node;
        std::size_t parent;
        Counts children;           // counts, in their order
        std::uint64_t element = 0; // the costliest of those
    };
    std::vector<Entry> entries;
    std::vector<ExpressionAST*> children;
    if (expression)
        entries.push_back({expression, 0, {}});
    for (std::size_t i = 0; i < entries.size(); ++i) {
        children.clear();
        appendChildren(entries[i].node, children);
        for (ExpressionAST* child : children)
            entries.push_back({child, i, {}});
    }

    Count count;
    for (std::size_t i = entries.size(); i-- > 0;) {
        Entry& entry = entries[i];
        std::ranges::reverse(entry.children);
        count = {1, 0, true};
        if (const auto* reference = dynamic_cast<PropertyReferenceAST*>(entry.node)) {
            const Count target = counted(reference->property);
            count = {sum({1, target.whole}), target.costliestElement, true};
        } else if (const auto* keys = dynamic_cast<InterpolateExpressionAST*>(entry.node)) {
            count.whole = sum({1, visitsOfKeys(*keys, entry.children)});
        } else if (dynamic_cast<ArrayExpressionAST*>(entry.node)) {
            entry.children.front() = entry.element;
            count.whole = sum({1, sum(entry.children)});
        } else {
            count.whole = sum({1, sum(entry.children)});
            if (!entry.children.empty())
                count.costliestElement = std::ranges::max(entry.children);
        }
        if (i > 0) {
            Entry& parent = entries[entry.parent];
            parent.children.push_back(count.whole);
            parent.element = count.costliestElement; // the first child comes last and is the target
        }
    }
    return count;
}

} // namespace Marl::Host
