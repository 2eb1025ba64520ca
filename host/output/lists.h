#pragma once

#include <host/scene/names.h>

#include <marl/marl.h>

#include <string>
#include <string_view>
#include <utility>

namespace Marl::Host {

// The items' texts with the separator between them. Gives the list up.
template <typename T, typename Text>
std::string joined(PtrArray<T>&& list, std::string_view separator, Text text)
{
    const ArrayHold items(std::move(list));
    std::string all;
    for (int i = 0; i < items->count; ++i) {
        if (i > 0)
            all += separator;
        all += text(items[i]);
    }
    return all;
}

// The same for lists in lists, which an evaluator makes deeper than recursion goes.
inline std::string joinedNested(const Value& value, int depth, std::string (*text)(const Value&, int))
{
    constexpr int deepest = 1000;
    if (depth == deepest)
        throw InvalidOpException("List is nested too deeply to be written.");
    return joined(value.getList(), ", ", [&](const Value& item) { return text(item, depth + 1); });
}

} // namespace Marl::Host
