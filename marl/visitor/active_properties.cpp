#include <marl/visitor/active_properties.h>

#include <marl/value/detail/failures.h>

#include <cstdint>

namespace Marl {

void ActiveProperties::enter(const PropertyAST* property)
{
    if (table.size() < 2 * (entered.size() + 1))
        makeRoom();
    const PropertyAST*& place = placeOf(property);
    if (place)
        failCycle();
    entered.push_back(property);
    place = property;
}

// Whatever was entered earlier found its place while this one was free, so none is looked for behind it.
void ActiveProperties::leave() noexcept
{
    placeOf(entered.back()) = nullptr;
    entered.pop_back();
}

// Where the property stands or, if it stands nowhere, may be put. (D. E. Knuth, "The Art of Computer
// Programming", volume 3, section 6.4: Fibonacci hashing and linear probing.)
const PropertyAST*& ActiveProperties::placeOf(const PropertyAST* property) noexcept
{
    const std::uint64_t scattered = reinterpret_cast<std::uintptr_t>(property) * 0x9e3779b97f4a7c15u;
    std::size_t place = static_cast<std::size_t>(scattered >> 32) & (table.size() - 1);
    while (table[place] && table[place] != property)
        place = (place + 1) & (table.size() - 1);
    return table[place];
}

void ActiveProperties::makeRoom()
{
    const std::size_t size = table.empty() ? 16 : 2 * table.size();
    entered.reserve(size / 2);
    table = std::vector<const PropertyAST*>(size);
    for (const PropertyAST* property : entered)
        placeOf(property) = property;
}

} // namespace Marl
