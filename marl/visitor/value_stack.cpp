#include <marl/visitor/value_stack.h>

namespace Marl {

void ValueStack::freeChunks() noexcept
{
    for (Chunk* chunk = first.following; chunk;)
        delete std::exchange(chunk, chunk->following);
}

void ValueStack::enterNextChunk()
{
    if (!current->following) {
        current->following = new Chunk;
        current->following->previous = current;
    }
    current = current->following;
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
