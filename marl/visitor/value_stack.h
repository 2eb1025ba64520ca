// The stack on which an evaluator keeps its values.
#pragma once

#include <marl/api.h>
#include <marl/value/value.h>

#include <cstddef>
#include <memory>
#include <utility>

namespace Marl {

// Owns its values and never moves one: it grows by further chunks, as a stack over a
// double-ended queue does. The first chunk lies inside the stack itself, so that most
// evaluations allocate nothing, and a chunk once allocated is kept until the end.
class MARL_API ValueStack {
public:
    ValueStack() noexcept = default;
    ~ValueStack()
    {
        while (!isEmpty())
            pop();
        if (first.following)
            freeChunks();
    }
    ValueStack(const ValueStack&) = delete;
    ValueStack& operator=(const ValueStack&) = delete;

    bool isEmpty() const noexcept { return next == first.begin(); }

    // Of a stack that is not empty.
    Value& top() noexcept { return next[-1]; }
    const Value& top() const noexcept { return next[-1]; }

    // The value under the top one, of a stack that has two.
    Value& below() noexcept { return next - current->begin() > 1 ? next[-2] : current->previous->end()[-1]; }

    // Differs after one more value was pushed.
    const Value* mark() const noexcept { return next; }

    // Throws std::bad_alloc, and then nothing has changed.
    template <typename... Args>
    void push(Args&&... args)
    {
        if (next == end)
            enterNextChunk();
        std::construct_at(next, std::forward<Args>(args)...);
        ++next;
    }

    void pop() noexcept
    {
        std::destroy_at(next - 1);
        popNumber();
    }

    // Of a top value that is a number, and so needs no destruction.
    void popNumber() noexcept
    {
        --next;
        if (next == begin)
            leaveChunk();
    }

private:
    struct Chunk {
        static constexpr int capacity = 8;

        Value* begin() noexcept { return reinterpret_cast<Value*>(storage); }
        const Value* begin() const noexcept { return reinterpret_cast<const Value*>(storage); }
        Value* end() noexcept { return begin() + capacity; }

        Chunk* previous = nullptr;
        Chunk* following = nullptr; // owned
        alignas(Value) std::byte storage[capacity * sizeof(Value)];
    };

    void freeChunks() noexcept;
    void enterNextChunk();
    void leaveChunk() noexcept;

    Chunk first;
    Chunk* current = &first;
    // The place behind the top value, and the places where a pop or a push changes the chunk.
    // The first chunk is never left.
    Value* next = first.begin();
    Value* begin = nullptr;
    Value* end = first.end();
};

} // namespace Marl
