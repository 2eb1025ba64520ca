// The operators once more, written from their tables alone.
#pragma once

#include <marl/marl.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace Marl::Fuzz {

// Throws InvalidOpException as the evaluator does.
Value operate(TOKENTYPE op, const Value& left, const Value& right);
Value negative(const Value& value);

Vector singleOf(const TracePoint& p);
TracePoint doubleOf(const Vector& v);

// An array of the library as a plain copy, and the other way round.
template <typename T>
std::vector<T> elementsOf(PtrArray<T>&& given)
{
    const ArrayHold array(std::move(given));
    return {array.begin(), array.end()};
}

template <typename T>
Value listOf(const std::vector<T>& elements)
{
    const ArrayHold<T> array(static_cast<int>(elements.size()));
    std::copy(elements.begin(), elements.end(), array->data);
    return *array;
}

} // namespace Marl::Fuzz
