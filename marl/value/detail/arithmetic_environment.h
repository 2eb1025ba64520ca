// What an ArithmeticScope does, for the library itself and as fast as it can be.
#pragma once

#if !defined(__x86_64__)
#include <cfenv>
#endif

namespace Marl {

// Whether the thread is within an ArithmeticScope. In the thread's static block, where the loader keeps some
// room for plugins: to find it elsewhere takes a call, which one value at a time would feel.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local bool arithmeticIsDefault;

// The default floating-point environment while it lives. Where it is that already, which is nearly
// everywhere, nothing is written.
class ArithmeticEnvironment {
public:
#if defined(__x86_64__)
    ArithmeticEnvironment() : before(arithmeticIsDefault ? standard : __builtin_ia32_stmxcsr())
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
        if (!arithmeticIsDefault)
            std::fesetenv(FE_DFL_ENV);
    }
    ~ArithmeticEnvironment()
    {
        std::fesetenv(&before);
    }
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
