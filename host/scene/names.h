// Names as text: out of the tree, and as scenes write them.
#pragma once

#include <marl/marl.h>

#include <string>
#include <string_view>

namespace Marl::Host {

// Empty for a string without buffer; valid as long as the string is.
inline std::string_view textOf(const CharString& string)
{
    const char* text = string;
    return text ? text : "";
}

// In back-quotes where the name needs them.
std::string quotedName(std::string_view name);

// `object.property`.
std::string quotedName(std::string_view object, std::string_view property);

} // namespace Marl::Host
