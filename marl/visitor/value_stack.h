// The stack on which an evaluator keeps its values.
#pragma once

#include <marl/api.h>
#include <marl/value/value.h>

#include <cstddef>
#include <memory>
#include <span>
#include <utility>

namespace Marl {

// The first values lie inside the stack itself, so that most evaluations allocate nothing. When it grows
// its values move, and pointers to them end.
class MARL_API ValueStack {
public:
    ValueStack() noexcept = default;
    ~ValueStack()
    {
        std::destroy(bottom, next);
        if (bottom != first())
            freeStorage();
    }
    ValueStack(const ValueStack&) = delete;
    ValueStack& operator=(const ValueStack&) = delete;

    // How high the stack is: a multiple of valueHeight, which spares a division.
    std::ptrdiff_t height() const noexcept
    {
        return reinterpret_cast<const std::byte*>(next) - reinterpret_cast<const std::byte*>(bottom);
    }
    static constexpr std::ptrdiff_t valueHeight = sizeof(Value);
    bool isEmpty() const noexcept { return next == bottom; }

    // The stack must not be empty.
    Value& top() noexcept { return next[-1]; }
    const Value& top() const noexcept { return next[-1]; }

    // The value under the top one; there must be two.
    Value& below() noexcept { return next[-2]; }

    // The `count` values on top, which must be there, from below.
    std::span<const Value> newest(std::size_t count) const noexcept { return {next - count, count}; }

    // Of arguments that do not lie in the stack. Throws std::bad_alloc, and then nothing has changed.
    template <typename... Args>
    void push(Args&&... args)
    {
        if (next == end)
            grow();
        std::construct_at(next, std::forward<Args>(args)...);
        ++next;
    }

    void pop() noexcept { std::destroy_at(--next); }

    void pop(std::size_t count) noexcept
    {
        for (; count > 0; --count)
            pop();
    }

private:
    static constexpr std::size_t fewValues = 8;

    Value* first() noexcept { return reinterpret_cast<Value*>(storage); }
    void grow();
    void freeStorage() noexcept;

    alignas(Value) std::byte storage[fewValues * sizeof(Value)];
    Value* bottom = first();
    Value* next = bottom; // the place behind the top value
    Value* end = bottom + fewValues;
};

} // namespace Marl
