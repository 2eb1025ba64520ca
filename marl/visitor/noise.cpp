// Three-dimensional gradient noise on an integer lattice.
#include <marl/visitor/calculation_visitor.h>

#include <marl/value/detail/precision.h>
#include <marl/visitor/detail/noise_tables.h>
#include <marl/visitor/detail/truncation.h>

#include <atomic>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

namespace Marl {

namespace {

class PerlinNoise {
public:
    // Appends the constants; called once.
    void init()
    {
        permutation.reserve(std::size(noisePermutation));
        gradients.reserve(std::size(noiseGradients));
        permutation.insert(permutation.end(), std::begin(noisePermutation), std::end(noisePermutation));
        gradients.insert(gradients.end(), std::begin(noiseGradients), std::end(noiseGradients));
    }

    // The gradient of a lattice point, its coordinates wrapped to 0 to 255.
    const Vector& gradient(unsigned x, unsigned y, unsigned z) const
    {
        return gradients[(x + hash(y + hash(z))) % 256];
    }

private:
    unsigned hash(unsigned index) const { return static_cast<unsigned>(permutation[index % 256]); }

    std::vector<Vector> gradients;
    std::vector<int> permutation;
};

struct NoiseParams {
    float scale = 1;
};

PerlinNoise perlinNoise;
NoiseParams noiseParams;
int noiseInited = 0;

// Whichever thread comes first builds the tables; after that there is no lock.
void initNoiseOnce()
{
    static std::mutex building;
    const std::atomic_ref<int> inited(noiseInited);
    if (inited.load(std::memory_order_acquire))
        return;
    const std::lock_guard lock(building);
    if (inited.load(std::memory_order_relaxed))
        return;
    PerlinNoise whole;
    whole.init();
    perlinNoise = std::move(whole);
    noiseParams = NoiseParams();
    inited.store(1, std::memory_order_release);
}

// One axis of the cell that a coordinate lies in: its two lattice planes, wrapped, how far
// the point lies from each, and how much the higher one weighs.
struct CellAxis {
    explicit CellAxis(float coordinate)
    {
        const double wide = widened(coordinate);
        // Looked up, for a branch on the sign of scattered points cannot be foreseen.
        constexpr double roundedDown[] = {0.999999999, 0.0};
        const int cell = truncated(wide - roundedDown[wide >= 0.0 ? 1 : 0]);
        low = static_cast<unsigned>(cell) % 256;
        high = (low + 1) % 256;
        fromLow = coordinate - static_cast<float>(cell);
        fromHigh = coordinate - static_cast<float>(cell + 1);
        const double t = widened(fromLow);
        fade = (t * t * t) * (((t * 6.0) + (-15.0)) * t + 10.0);
    }

    unsigned low, high;
    float fromLow, fromHigh;
    double fade;
};

// The pull of the lattice point's gradient at a distance from it.
double corner(unsigned x, unsigned y, unsigned z, float dx, float dy, float dz)
{
    const Vector& g = perlinNoise.gradient(x, y, z);
    return widened(g.x * dx + g.y * dy + g.z * dz);
}

double lerp(double t, double a, double b)
{
    return ((b - a) * t) + a;
}

} // namespace

float CalculationVisitor::noise(const Vector& point)
{
    initNoiseOnce();
    const float scale = noiseParams.scale;
    // The last first, for with it begins the chain of look-ups, on which all else waits.
    const CellAxis z((point.z + 7829375.0f) * scale);
    const CellAxis y((point.y + 0.1111f) * scale);
    const CellAxis x((point.x + 0.3333f) * scale);

    // Pull of the eight corners: k, then low 0 or high 1 along x, y and z.
    const double k000 = corner(x.low, y.low, z.low, x.fromLow, y.fromLow, z.fromLow);
    const double k100 = corner(x.high, y.low, z.low, x.fromHigh, y.fromLow, z.fromLow);
    const double k010 = corner(x.low, y.high, z.low, x.fromLow, y.fromHigh, z.fromLow);
    const double k110 = corner(x.high, y.high, z.low, x.fromHigh, y.fromHigh, z.fromLow);
    const double k001 = corner(x.low, y.low, z.high, x.fromLow, y.fromLow, z.fromHigh);
    const double k101 = corner(x.high, y.low, z.high, x.fromHigh, y.fromLow, z.fromHigh);
    const double k011 = corner(x.low, y.high, z.high, x.fromLow, y.fromHigh, z.fromHigh);
    const double k111 = corner(x.high, y.high, z.high, x.fromHigh, y.fromHigh, z.fromHigh);

    const double e00 = lerp(x.fade, k000, k100), e10 = lerp(x.fade, k010, k110);
    const double e01 = lerp(x.fade, k001, k101), e11 = lerp(x.fade, k011, k111);
    const double c0 = lerp(y.fade, e00, e10), c1 = lerp(y.fade, e01, e11);
    return single(lerp(z.fade, c0, c1));
}

} // namespace Marl
