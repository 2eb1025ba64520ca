// Array storage shared by reference count.
//
// There is no destructor that releases: whoever holds an array calls freeMem(), or
// leaves that to an ArrayHold.
// The elements stand in one block behind the count, so an array costs one allocation.
#pragma once

#include <marl/api.h>
#include <marl/value/reference_count.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace Marl {

// Stands in memory before the elements.
struct alignas(std::max_align_t) ArrayControl {
    int refCount;
    int count;
    ArrayControl* nextDoomed; // links arrays that wait to be freed, see PtrArray<Value>
};

// One object is used by one thread at a time; several threads may share its storage.
template <typename T>
class MARL_API PtrArray {
public:
    PtrArray() noexcept = default;

    PtrArray(const PtrArray& other) noexcept : data(other.data), shared(other.shared), count(other.count)
    {
        if (shared)
            addReference(shared->refCount);
    }

    PtrArray(PtrArray&& other) noexcept
        : data(std::exchange(other.data, nullptr)), shared(std::exchange(other.shared, nullptr)),
          count(std::exchange(other.count, 0))
    {}

    PtrArray& operator=(const PtrArray& other) noexcept { return *this = PtrArray(other); }

    PtrArray& operator=(PtrArray&& other) noexcept
    {
        PtrArray given(std::move(other));
        freeMem();
        data = std::exchange(given.data, nullptr);
        shared = std::exchange(given.shared, nullptr);
        count = std::exchange(given.count, 0);
        return *this;
    }

    // Gives up what the array held and holds n default-constructed elements; a negative
    // n is 0. Throws std::bad_alloc, and then the array keeps what it held.
    void allocArray(int n);

    // Gives up this array's reference and leaves it empty; the last one frees the elements.
    void freeMem() noexcept
    {
        if (shared && dropReference(shared->refCount))
            destroy(shared);
        data = nullptr;
        shared = nullptr;
        count = 0;
    }

    T* data = nullptr;
    ArrayControl* shared = nullptr;
    int count = 0;

private:
    static T* elementsOf(ArrayControl* control) noexcept { return reinterpret_cast<T*>(control + 1); }
    static void destroy(ArrayControl* control) noexcept;
};

template <typename T>
void PtrArray<T>::allocArray(int n)
{
    static_assert(std::is_nothrow_default_constructible_v<T>, "a half-built array could not be given back");
    static_assert(alignof(T) <= alignof(ArrayControl));
    n = std::max(n, 0);
    const auto length = static_cast<std::size_t>(n);
    void* memory = ::operator new(sizeof(ArrayControl) + length * sizeof(T));
    auto* control = ::new (memory) ArrayControl{1, n, nullptr};
    std::uninitialized_value_construct_n(elementsOf(control), length);
    freeMem();
    data = elementsOf(control);
    shared = control;
    count = n;
}

template <typename T>
void PtrArray<T>::destroy(ArrayControl* control) noexcept
{
    std::destroy_n(elementsOf(control), control->count);
    ::operator delete(control);
}

} // namespace Marl
