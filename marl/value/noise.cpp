#include <marl/value/detail/noise.h>

#include <marl/value/detail/noise_tables.h>
#include <marl/value/detail/precision.h>
#include <marl/value/detail/truncation.h>

#include <atomic>
#include <cstring>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

namespace Marl {

namespace {

class PerlinNoise {
public:
    // Appends the constants; called once. The tables go round in a circle, so the first entry stands
    // behind the last once more.
    void init()
    {
        permutation.reserve(std::size(noisePermutation) + 1);
        gradients.reserve(std::size(noiseGradients) + 1);
        permutation.insert(permutation.end(), std::begin(noisePermutation), std::end(noisePermutation));
        permutation.push_back(noisePermutation[0]);
        gradients.insert(gradients.end(), std::begin(noiseGradients), std::end(noiseGradients));
        gradients.push_back(noiseGradients[0]);
    }

    // What stands at an index and, behind it, what stands at the next one.
    const unsigned* hashPair(unsigned index) const { return &permutation[index % 256]; }
    const Vector* gradientPair(unsigned index) const { return &gradients[index % 256]; }

private:
    std::vector<Vector> gradients;
    std::vector<unsigned> permutation;
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

// One axis of the cell that a coordinate lies in: its lower lattice plane, how far the point lies from
// that and from the next one, and how much the next one weighs.
struct CellAxis {
    explicit CellAxis(float coordinate)
    {
        const double wide = widened(coordinate);
        // Looked up, for a branch on the sign of scattered points cannot be foreseen.
        constexpr double roundedDown[] = {0.999999999, 0.0};
        const int cell = truncated(wide - roundedDown[wide >= 0.0 ? 1 : 0]);
        low = static_cast<unsigned>(cell);
        fromLow = coordinate - static_cast<float>(cell);
        fromHigh = coordinate - static_cast<float>(cell + 1);
        const double t = widened(fromLow);
        fade = (t * t * t) * (((t * 6.0) + (-15.0)) * t + 10.0);
    }

    unsigned low;
    float fromLow, fromHigh;
    double fade;
};

// Numbers side by side: an operator computes each as it would alone.
using Singles = float __attribute__((vector_size(16)));
using Doubles = double __attribute__((vector_size(16)));
using FourDoubles = double __attribute__((vector_size(32)));

// The x, y or z (0, 1 or 2) of two pairs of gradients.
Singles components(int which, const Vector* firstPair, const Vector* secondPair)
{
    static_assert(sizeof(Vector) == 3 * sizeof(float));
    Singles first, second;
    std::memcpy(&first, reinterpret_cast<const float*>(firstPair) + which, sizeof first);
    std::memcpy(&second, reinterpret_cast<const float*>(secondPair) + which, sizeof second);
    return __builtin_shufflevector(first, second, 0, 3, 4, 7);
}

template <typename Number>
Number lerp(double t, Number a, Number b)
{
    return ((b - a) * t) + a;
}

} // namespace

float noise(const Vector& point)
{
    initNoiseOnce();
    const float scale = noiseParams.scale;
    // The last first, for with it begins the chain of look-ups, on which all else waits.
    const CellAxis z((point.z + 7829375.0f) * scale);
    const CellAxis y((point.y + 0.1111f) * scale);
    const CellAxis x((point.x + 0.3333f) * scale);

    // Four corners each: low and high x at low y, the same at high y. A corner pulls with its gradient.
    const Singles dx = {x.fromLow, x.fromHigh, x.fromLow, x.fromHigh};
    const Singles dy = {y.fromLow, y.fromLow, y.fromHigh, y.fromHigh};
    const auto pulls = [&](unsigned hashOfZ, float fromZ) {
        const unsigned* alongY = perlinNoise.hashPair(y.low + hashOfZ);
        const Vector* lowY = perlinNoise.gradientPair(x.low + alongY[0]);
        const Vector* highY = perlinNoise.gradientPair(x.low + alongY[1]);
        const Singles dz = {fromZ, fromZ, fromZ, fromZ};
        return components(0, lowY, highY) * dx + components(1, lowY, highY) * dy + components(2, lowY, highY) * dz;
    };
    const unsigned* alongZ = perlinNoise.hashPair(z.low);
    const Singles lowZ = pulls(alongZ[0], z.fromLow), highZ = pulls(alongZ[1], z.fromHigh);

    const FourDoubles lowX = __builtin_convertvector(__builtin_shufflevector(lowZ, highZ, 0, 2, 4, 6), FourDoubles);
    const FourDoubles highX = __builtin_convertvector(__builtin_shufflevector(lowZ, highZ, 1, 3, 5, 7), FourDoubles);
    // Not by lerp(): vectors of 32 bytes are passed to functions in ways that differ between builds.
    const FourDoubles edges = (highX - lowX) * x.fade + lowX;
    const Doubles lowY = __builtin_shufflevector(edges, edges, 0, 2);
    const Doubles highY = __builtin_shufflevector(edges, edges, 1, 3);
    const Doubles faces = lerp(y.fade, lowY, highY);
    return single(lerp(z.fade, faces[0], faces[1]));
}

void noise(const float* x, const float* y, const float* z, float* results, int count)
{
    for (int i = 0; i < count; ++i)
        results[i] = noise(Vector{x[i], y[i], z[i]});
}

} // namespace Marl
