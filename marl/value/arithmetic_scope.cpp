#include <marl/value/arithmetic_scope.h>

#include <marl/value/detail/arithmetic_environment.h>

#include <cfenv>
#include <cstring>

namespace Marl {

constinit thread_local bool arithmeticIsDefault = false;

static_assert(sizeof(std::fenv_t) <= 32);

ArithmeticScope::ArithmeticScope() noexcept : isOutermost(!arithmeticIsDefault)
{
    if (!isOutermost)
        return;
    std::fenv_t environment;
    std::fegetenv(&environment);
    std::memcpy(before, &environment, sizeof environment);
    std::fesetenv(FE_DFL_ENV);
    arithmeticIsDefault = true;
}

ArithmeticScope::~ArithmeticScope()
{
    if (!isOutermost)
        return;
    arithmeticIsDefault = false;
    std::fenv_t environment;
    std::memcpy(&environment, before, sizeof environment);
    std::fesetenv(&environment);
}

} // namespace Marl
