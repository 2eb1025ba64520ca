// The kernels for processors with AVX2.
//
// Whatever other sources share is included before the instruction set is raised: an inline function compiled
// for AVX2 could become the copy that the linker keeps for the whole program.
#include <marl/compiled/detail/kernel_parts.h>

#if defined(__x86_64__) && !defined(MARL_WITHOUT_AVX2)

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

namespace Marl {
namespace {

// What clang passes in registers follows from the whole source's instruction set, and that is the baseline.
#if defined(__clang__)
using Lane = double __attribute__((vector_size(16)));
#else
using Lane = double __attribute__((vector_size(32)));
#endif

} // namespace
} // namespace Marl

#include <marl/compiled/detail/kernel_source.h>
#include <marl/compiled/detail/kernel_table.h>

namespace Marl {

const Kernels& avx2Kernels()
{
    static const Kernels all = allKernels();
    return all;
}

} // namespace Marl

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

namespace Marl {

const Kernels& kernels()
{
    static const bool hasAvx2 = __builtin_cpu_supports("avx2");
    return hasAvx2 ? avx2Kernels() : baselineKernels();
}

} // namespace Marl

#else

namespace Marl {

const Kernels& kernels()
{
    return baselineKernels();
}

} // namespace Marl

#endif
