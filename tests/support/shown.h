// Values as text, so that a whole value is compared at once and a failing row says what came.
#pragma once

#include <marl/value/array_hold.h>
#include <marl/value/value.h>

#include <algorithm>
#include <initializer_list>
#include <string>

namespace Marl {

// What the tests' host means by an object of the running scene.
class Object {
public:
    const char* name;
};

} // namespace Marl

namespace Marl::Tests {

// As a scene would write it: 1.5, vec(1 2 3), mat(1 0 0, 0 1 0, 0 0 1), rgb[1 0 0], [1, "text"].
// Every number is the shortest text that gives its bits back, and every NaN is nan. A text
// without buffer is null; a scene path follows behind "in".
std::string shown(const Value& value);

// One letter per kind in the order of ValueType, as the pictures of the operator tables use them.
constexpr char kindLetters[] = "-NLVMCATvicfsSodr";
inline char letterOf(const Value& value)
{
    return kindLetters[value.getValueType()];
}

// A value of that kind that differs from the kind's zero.
Value sampleOf(char letter);

// A value of a list kind with these elements.
template <typename T>
Value listOf(std::initializer_list<T> elements)
{
    const ArrayHold<T> list(static_cast<int>(elements.size()));
    std::ranges::copy(elements, list->data);
    return *list;
}

} // namespace Marl::Tests
