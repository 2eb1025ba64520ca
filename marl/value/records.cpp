#include <marl/value/records.h>

namespace Marl {

namespace {

constexpr std::uint32_t off = 0, all = 0xFFFFFFFF;

}

Matrix::Matrix(int k)
{
    columns[0].x = columns[1].y = columns[2].z = static_cast<float>(k);
}

constinit const Matrix ID_mat({1, 0, 0}, {0, 1, 0}, {0, 0, 1});
constinit const Matrix ZERO_mat;

// clang-format off
alignas(16) constinit const std::uint32_t _mm_lookupmask_ps[16][4] = {
    {off, off, off, off}, {all, off, off, off}, {off, all, off, off}, {all, all, off, off},
    {off, off, all, off}, {all, off, all, off}, {off, all, all, off}, {all, all, all, off},
    {off, off, off, all}, {all, off, off, all}, {off, all, off, all}, {all, all, off, all},
    {off, off, all, all}, {all, off, all, all}, {off, all, all, all}, {all, all, all, all},
};
// clang-format on

} // namespace Marl
