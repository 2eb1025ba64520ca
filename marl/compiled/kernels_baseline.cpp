// The kernels for every processor of this kind.
#include <marl/compiled/detail/kernel_parts.h>

namespace Marl {
namespace {

using Lane = double __attribute__((vector_size(16)));

}
} // namespace Marl

#include <marl/compiled/detail/kernel_source.h>
#include <marl/compiled/detail/kernel_table.h>

namespace Marl {

const Kernels& baselineKernels()
{
    static const Kernels all = allKernels();
    return all;
}

} // namespace Marl
