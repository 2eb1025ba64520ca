// Finding the end of a data list without reading the data.
#pragma once

#include <functional>
#include <string_view>

namespace Marl::Host {

// How many bytes of the text belong to a data list: all before the `]` that closes it. Brackets in
// texts and comments do not close. A list that is not closed ends before what belongs to no data.
// From time to time `passed` is told how far the list has been skipped.
std::size_t skipData(std::string_view text, const std::function<void(const char*)>& passed);

} // namespace Marl::Host
