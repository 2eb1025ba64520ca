// An owner for the reference that comes with a freshly returned or allocated array.
#pragma once

#include <marl/value/ptr_array.h>

#include <utility>

namespace Marl {

// Gives the array up at the end of its scope, also when an element throws.
template <typename T>
class ArrayHold {
public:
    explicit ArrayHold(PtrArray<T>&& given) noexcept : array(std::move(given)) {}
    explicit ArrayHold(int count) { array.allocArray(count); }
    ~ArrayHold() { array.freeMem(); }

    ArrayHold(const ArrayHold&) = delete;
    ArrayHold& operator=(const ArrayHold&) = delete;

    PtrArray<T>* operator->() { return &array; }
    PtrArray<T>& operator*() { return array; }
    T& operator[](int index) { return array.data[index]; }

private:
    PtrArray<T> array;
};

} // namespace Marl
