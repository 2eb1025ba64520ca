#pragma once

#include <marl/marl.h>

#include <string>

namespace Marl::Host {

// The value as scenes write it: vec(1, 2, 3), float[1 2 3], "text", @lamp. Throws
// InvalidOpException for lists within lists that are too deep to be written.
std::string valueText(const Value& value);

} // namespace Marl::Host
