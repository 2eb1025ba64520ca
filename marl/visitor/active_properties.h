// The properties that an evaluator is inside of, so that a circle is noticed as soon as it closes.
#pragma once

#include <marl/api.h>
#include <marl/ast/forward.h>

#include <cstddef>
#include <vector>

namespace Marl {

// A stack of properties in which each is found in constant time. It belongs to the evaluator and not to
// the properties, for any number of evaluators may be inside of one property at once.
class MARL_API ActiveProperties {
public:
    // Throws InvalidOpException "Property references form a cycle." for a property that is inside already.
    void enter(const PropertyAST* property);

    // Leaves the property that was entered last.
    void leave() noexcept;

private:
    const PropertyAST*& placeOf(const PropertyAST* property) noexcept;
    void makeRoom();

    std::vector<const PropertyAST*> entered; // the innermost last
    std::vector<const PropertyAST*> table;   // the same by address, with linear probing; a power of two in size
};

} // namespace Marl
