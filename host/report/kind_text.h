#pragma once

#include <string>
#include <string_view>

namespace Marl::Host {

// "Double", "Vector", ... as the library names the kinds.
std::string_view kindName(int kind);

// "a Double", "an AColor".
std::string kindWithArticle(int kind);

} // namespace Marl::Host
