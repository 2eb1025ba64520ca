// Values as text.
#pragma once

#include <marl/marl.h>

#include <string>
#include <string_view>

namespace Marl::Host {

// "Double", "Vector", ... as the library names the kinds.
std::string_view kindName(int kind);

// "a Double", "an AColor".
std::string kindWithArticle(int kind);

// The shortest text that gives the number back; "nan", "inf" and "-inf".
std::string numberText(double number);

// The shortest text that gives the number back, also when it is read as a double and rounded.
std::string numberText(float number);

// The value as scenes write it: vec(1, 2, 3), float[1 2 3], "text", @lamp. Throws
// InvalidOpException for lists within lists that are too deep to be written.
std::string valueText(const Value& value);

} // namespace Marl::Host
