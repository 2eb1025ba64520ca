// Suggestions for names that nothing has.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Marl::Host {

// "Did you mean `lamp`?" with the nearest of the names, or nothing where none is near: about one
// letter in three may be wrong, missing, too many, or have changed places with its neighbor.
std::string didYouMean(std::string_view wrong, std::span<const std::string_view> names);

} // namespace Marl::Host
