#include <marl/visitor/value_stack.h>

#include <new>

namespace Marl {

void ValueStack::grow()
{
    const auto count = static_cast<std::size_t>(next - bottom);
    const std::size_t capacity = 2 * count;
    auto* larger = static_cast<Value*>(::operator new(capacity * sizeof(Value)));
    std::uninitialized_move(bottom, next, larger);
    std::destroy(bottom, next);
    if (bottom != first())
        freeStorage();
    bottom = larger;
    next = larger + count;
    end = larger + capacity;
}

void ValueStack::freeStorage() noexcept
{
    ::operator delete(bottom);
}

} // namespace Marl
