#include <benchmarks/suite.h>

#include <noisegen.h>

namespace Bench {

// Its best quality has the quintic fade that the others have too.
extern "C" void addRows(const Suite& suite)
{
    addRow("walk alone/noise call", {"libnoise"}, Scattered(suite.points), [](const Point& p) {
        return noise::GradientCoherentNoise3D(static_cast<double>(p.x), static_cast<double>(p.y),
                                              static_cast<double>(p.z), 0, noise::QUALITY_BEST);
    });
}

} // namespace Bench
