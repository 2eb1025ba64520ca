// Values in little room.
#pragma once

#include <marl/marl.h>

#include <string>
#include <string_view>

namespace Marl::Host {

// The text in one line, its blanks joined, and cut with "..." behind so many characters. Bytes that a
// terminal must not see are replaced.
std::string shortText(std::string_view text, std::size_t width);

// The value as scenes write it, cut to so many characters; of a long list the first items and how
// many there are.
std::string shortValueText(const Value& value, std::size_t width);

} // namespace Marl::Host
