// The floating-point environment in which results are the same on every thread.
#pragma once

#include <marl/api.h>

namespace Marl {

// While it lives, its thread computes in the default floating-point environment: rounding to nearest,
// denormal numbers kept, nothing trapped. Then the thread has its own environment back.
//
// For hosts whose threads compute otherwise, as render threads do that flush denormal numbers to zero, and
// evaluate by a walk there. BatchEvaluator opens a scope by itself; within one that is open already it need
// not ask the processor, which is worth some nanoseconds where values are asked for one at a time.
//
// Scopes nest, and end in the reverse order on the thread that opened them. Within one the environment is
// not changed otherwise.
class MARL_API ArithmeticScope {
public:
    ArithmeticScope() noexcept;
    ~ArithmeticScope();
    ArithmeticScope(const ArithmeticScope&) = delete;
    ArithmeticScope& operator=(const ArithmeticScope&) = delete;

private:
    unsigned char before[32]; // the thread's own environment
    bool isOutermost;
};

} // namespace Marl
