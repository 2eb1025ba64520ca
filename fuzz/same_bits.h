// Whether two values are the same to the last bit.
#pragma once

#include <marl/marl.h>

namespace Marl::Fuzz {

// Numbers are the same when their bits are, or when both are NaN.
bool sameBits(double left, double right);
bool sameBits(const Value& left, const Value& right);

} // namespace Marl::Fuzz
