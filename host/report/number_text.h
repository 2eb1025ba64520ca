#pragma once

#include <string>

namespace Marl::Host {

// The shortest text that gives the number back; "nan", "inf" and "-inf".
std::string numberText(double number);

// The shortest text that gives the number back, also when it is read as a double and rounded.
std::string numberText(float number);

} // namespace Marl::Host
