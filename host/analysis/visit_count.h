// How much work an evaluation is.
#pragma once

#include <marl/marl.h>

#include <cstdint>
#include <unordered_map>

namespace Marl::Host {

// Counts the nodes that evaluating a property visits at most. References are evaluated afresh each
// time, so the number can grow beyond measure in a small scene; it stops at `countless`.
class VisitCounter {
public:
    static constexpr std::uint64_t countless = std::uint64_t(1) << 62;

    // Of a property that needs itself, the circle is counted once.
    std::uint64_t visitsOf(const PropertyAST* property);

private:
    struct Count {
        std::uint64_t whole = 0;
        std::uint64_t costliestElement = 0; // what taking one element visits at most
        bool isKnown = false;
    };
    Count counted(const PropertyAST* property) const;
    Count countExpression(ExpressionAST* expression) const;

    std::unordered_map<const PropertyAST*, Count> counts;
};

} // namespace Marl::Host
