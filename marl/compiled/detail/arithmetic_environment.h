// The floating-point environment in which results are the same on every thread.
#pragma once

#if !defined(__x86_64__)
#include <cfenv>
#endif

namespace Marl {

// While it lives the thread rounds to nearest, keeps denormal numbers and traps nothing; then it has its own
// environment back. Where that is the default one already, which is nearly everywhere, nothing is written.
class ArithmeticEnvironment {
public:
#if defined(__x86_64__)
    ArithmeticEnvironment() : before(__builtin_ia32_stmxcsr())
    {
        if ((before & control) != standard)
            __builtin_ia32_ldmxcsr(standard);
    }
    ~ArithmeticEnvironment()
    {
        if ((before & control) != standard)
            __builtin_ia32_ldmxcsr(before);
    }
#else
    ArithmeticEnvironment()
    {
        std::fegetenv(&before);
        std::fesetenv(FE_DFL_ENV);
    }
    ~ArithmeticEnvironment() { std::fesetenv(&before); }
#endif
    ArithmeticEnvironment(const ArithmeticEnvironment&) = delete;
    ArithmeticEnvironment& operator=(const ArithmeticEnvironment&) = delete;

private:
#if defined(__x86_64__)
    // The bits of the control register MXCSR that are no flags: flush to zero, rounding, masks, denormals are zero.
    static constexpr unsigned control = 0xFFC0, standard = 0x1F80;
    unsigned before;
#else
    std::fenv_t before;
#endif
};

} // namespace Marl
