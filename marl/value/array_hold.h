// An owner for the reference that comes with a freshly returned or allocated array.
#pragma once

#include <marl/value/ptr_array.h>

#include <utility>

namespace Marl {

// Gives its array up at the end of its scope, also where an exception leaves it:
//
//     const ArrayHold levels(value.getListFloat());
//     const float first = levels->count > 0 ? levels[0] : 0;
//
// Whatever shall outlive the scope shares the elements: Value(*levels) holds a reference of its own.
// An index is not checked. One hold is used by one thread at a time.
template <typename T>
class ArrayHold {
public:
    explicit ArrayHold(PtrArray<T>&& given) noexcept : array(std::move(given)) {}
    // Room for that many default-constructed elements; below 0 is 0. Throws std::bad_alloc.
    explicit ArrayHold(int count) { array.allocArray(count); }
    ~ArrayHold() { array.freeMem(); }

    ArrayHold(const ArrayHold&) = delete;
    ArrayHold& operator=(const ArrayHold&) = delete;

    PtrArray<T>* operator->() noexcept { return &array; }
    const PtrArray<T>* operator->() const noexcept { return &array; }
    PtrArray<T>& operator*() noexcept { return array; }
    const PtrArray<T>& operator*() const noexcept { return array; }
    T& operator[](int index) noexcept { return array.data[index]; }
    const T& operator[](int index) const noexcept { return array.data[index]; }

    const T* begin() const noexcept { return array.data; }
    const T* end() const noexcept { return array.data + array.count; }

private:
    PtrArray<T> array;
};

} // namespace Marl
