// Runs an action on a stack of a size of its own.
#pragma once

#include <cstddef>
#include <functional>

namespace Marl::Tests {

void onAStackOf(std::size_t bytes, std::function<void()> action);

} // namespace Marl::Tests
