#include <benchmarks/suite.h>

#define STB_PERLIN_IMPLEMENTATION
#include <stb_perlin.h>

namespace Bench {

extern "C" void addRows(const Suite& suite)
{
    addRow("walk alone/noise call", {"stb_perlin"}, Scattered(suite.points),
           [](const Point& p) { return stb_perlin_noise3(p.x, p.y, p.z, 0, 0, 0); });
}

} // namespace Bench
