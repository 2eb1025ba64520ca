// The operators once more, written from their tables alone.
#pragma once

#include <marl/marl.h>

#include <algorithm>
#include <vector>

namespace Marl::Fuzz {

// Throws InvalidOpException as the evaluator does.
Value operate(TOKENTYPE op, const Value& left, const Value& right);
Value negative(const Value& value);

Vector singleOf(const TracePoint& p);
TracePoint doubleOf(const Vector& v);

// An array of the library as a plain copy, and the other way round.
template <typename T>
std::vector<T> elementsOf(PtrArray<T> array)
{
    std::vector<T> elements(array.data, array.data + array.count);
    array.freeMem();
    return elements;
}

template <typename T>
Value listOf(const std::vector<T>& elements)
{
    PtrArray<T> array;
    array.allocArray(static_cast<int>(elements.size()));
    std::copy(elements.begin(), elements.end(), array.data);
    const Value list(array);
    array.freeMem();
    return list;
}

} // namespace Marl::Fuzz
