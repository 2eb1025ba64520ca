// Room for recursion.
#pragma once

#include <functional>

namespace Marl::Host {

// Runs the work to its end on a stack of 64 MiB, of which only what is used takes memory. What the
// work throws comes out of here. Throws std::system_error where there is no room for such a stack.
void runOnDeepStack(const std::function<void()>& work);

} // namespace Marl::Host
