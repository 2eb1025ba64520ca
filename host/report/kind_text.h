#pragma once

#include <string>
#include <string_view>

namespace Marl::Host {

// "Double", "Vector", ... as the library names the kinds.
std::string_view kindName(int kind);

// "a Double", "an AColor".
std::string kindWithArticle(int kind);

// "a number", "an rgba", as authors of scenes call them.
std::string_view kindInWords(int kind);

} // namespace Marl::Host
