// The noise in one cell of its lattice: at one point, when Singles is float, or at several side by side.
//
// The source that includes this may compile it for an instruction set that not every processor has. So
// everything has internal linkage, and such a source says and includes before what the steps come to on its
// Singles: widened(), single(), truncated(), rounded(), upward(), planes(), hashes(), pulls().
#pragma once

#include <marl/value/detail/noise_lattice.h>

namespace Marl {

namespace {

// One axis of the cell that a coordinate lies in: its lower lattice plane, how far the point lies from
// that and from the next one, and how much the next one weighs.
template <typename Singles>
struct CellAxis {
    explicit CellAxis(Singles coordinate)
    {
        const auto wide = widened(coordinate);
        const auto cell = truncated(wide - upward(wide));
        plane = planes(cell);
        from = {coordinate - rounded(cell), coordinate - rounded(cell + 1)};
        const auto t = widened(from.low);
        fade = (t * t * t) * (((t * 6.0) + (-15.0)) * t + 10.0);
    }

    decltype(planes(truncated(widened(Singles())))) plane;
    LowAndHigh<Singles> from;
    decltype(widened(Singles())) fade;
};

template <typename Doubles>
Doubles lerp(Doubles t, Doubles a, Doubles b)
{
    return ((b - a) * t) + a;
}

template <typename Singles>
Singles noiseInCell(const NoiseTables& tables, Singles pointX, Singles pointY, Singles pointZ)
{
    // The last first, for with it begins the chain of look-ups, on which all else waits.
    const CellAxis<Singles> z((pointZ + 7829375.0f) * tables.scale);
    const CellAxis<Singles> y((pointY + 0.1111f) * tables.scale);
    const CellAxis<Singles> x((pointX + 0.3333f) * tables.scale);

    // Hashes of planes and edges: h, then low 0 or high 1 along y and z.
    const auto [h_0, h_1] = hashes(tables, z.plane);
    const auto [h00, h10] = hashes(tables, y.plane + h_0);
    const auto [h01, h11] = hashes(tables, y.plane + h_1);

    // Pull of the eight corners: k, then low 0 or high 1 along x, y and z.
    const auto [k000, k100] = pulls(tables, x.plane + h00, x.from, y.from.low, z.from.low);
    const auto [k010, k110] = pulls(tables, x.plane + h10, x.from, y.from.high, z.from.low);
    const auto [k001, k101] = pulls(tables, x.plane + h01, x.from, y.from.low, z.from.high);
    const auto [k011, k111] = pulls(tables, x.plane + h11, x.from, y.from.high, z.from.high);

    const auto e00 = lerp(x.fade, k000, k100), e10 = lerp(x.fade, k010, k110);
    const auto e01 = lerp(x.fade, k001, k101), e11 = lerp(x.fade, k011, k111);
    return single(lerp(z.fade, lerp(y.fade, e00, e10), lerp(y.fade, e01, e11)));
}

} // namespace

} // namespace Marl
