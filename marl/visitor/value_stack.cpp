#include <marl/visitor/value_stack.h>

namespace Marl {

// One by one, for a long chain must not recurse.
void ValueStack::freeChunks() noexcept
{
    while (first.following)
        first.following = std::move(first.following->following);
}

void ValueStack::enterNextChunk()
{
    if (!current->following) {
        // Plain new leaves the storage as it is; make_unique would clear it.
        current->following.reset(new Chunk);
        current->following->previous = current;
    }
    current = current->following.get();
    next = begin = current->begin();
    end = current->end();
}

void ValueStack::leaveChunk() noexcept
{
    current = current->previous;
    next = end = current->end();
    begin = current == &first ? nullptr : current->begin();
}

} // namespace Marl
