// How much memory values hold.
#pragma once

#include <marl/value/array_hold.h>
#include <marl/value/value.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace Marl {

inline std::uint64_t textBytes(const char* text)
{
    return text ? std::strlen(text) : 0;
}

// Of the text, or of the elements; lists among these are not gone into.
inline std::uint64_t bytesOf(const Value& value)
{
    const auto elements = [](auto&& list) {
        const ArrayHold held(std::move(list));
        return static_cast<std::uint64_t>(held->count) * sizeof(*held->data);
    };
    // clang-format off
    switch (value.kind()) {
    case ValueType::List:       return elements(value.getList());
    case ValueType::ListVector: return elements(value.getListVector());
    case ValueType::ListInt:    return elements(value.getListInt());
    case ValueType::ListColor:  return elements(value.getListColor());
    case ValueType::ListFloat:  return elements(value.getListFloat());
    case ValueType::ListString: return elements(value.getListString());
    case ValueType::String:     return textBytes(value.getString());
    default:                    return 0;
    }
    // clang-format on
}

// Lists in lists included.
inline std::uint64_t allBytesOf(const Value& value)
{
    std::uint64_t bytes = bytesOf(value);
    if (value.kind() == ValueType::List) {
        const ArrayHold list(value.getList());
        for (int i = 0; i < list->count; ++i)
            bytes += allBytesOf(list[i]);
    }
    return bytes;
}

} // namespace Marl
