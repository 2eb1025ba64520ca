#include <marl/value/detail/noise.h>

#include <marl/value/detail/noise_cell.h>
#include <marl/value/detail/noise_lattice.h>
#include <marl/value/detail/noise_tables.h>

#include <atomic>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

namespace Marl {

namespace {

struct NoiseParams {
    float scale = 1; // lattice planes a unit; noise is defined with it, though nobody sets another one
};

class PerlinNoise {
public:
    // Appends the constants; called once.
    void init()
    {
        permutation.reserve(std::size(noisePermutation) + 1);
        gradients.reserve(std::size(noiseGradients) + 1);
        permutation.insert(permutation.end(), std::begin(noisePermutation), std::end(noisePermutation));
        permutation.push_back(noisePermutation[0]);
        for (const Vector& g : noiseGradients)
            gradients.push_back({g.x, g.y, g.z, 0});
        gradients.push_back(gradients[0]);
    }

    NoiseTables tables(const NoiseParams& params) const
    {
        return {permutation.data(), gradients.data(), params.scale};
    }

private:
    std::vector<NoiseTables::Gradient> gradients;
    std::vector<unsigned> permutation;
};

PerlinNoise perlinNoise;
NoiseParams noiseParams;
NoiseTables noiseTables;
NoiseAtMany* noiseAtMany = nullptr;
int noiseInited = 0;

void noiseOneByOne(const NoiseTables& tables, const float* x, const float* y, const float* z, float* results,
                   int count)
{
    for (int i = 0; i < count; ++i)
        results[i] = noiseInCell(tables, x[i], y[i], z[i]);
}

NoiseAtMany* fastestOfProcessor()
{
#if defined(__x86_64__) && !defined(MARL_WITHOUT_AVX2)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2"))
        return noiseByAvx2;
#endif
    return noiseOneByOne;
}

[[gnu::noinline]] void initNoise()
{
    static std::mutex building;
    const std::lock_guard lock(building);
    const std::atomic_ref<int> inited(noiseInited);
    if (inited.load(std::memory_order_relaxed))
        return;
    PerlinNoise whole;
    whole.init();
    perlinNoise = std::move(whole);
    noiseParams = NoiseParams();
    noiseTables = perlinNoise.tables(noiseParams);
    noiseAtMany = fastestOfProcessor();
    inited.store(1, std::memory_order_release);
}

// Whichever thread comes first builds the tables; after that there is no lock.
const NoiseTables& readyTables()
{
    if (!std::atomic_ref<int>(noiseInited).load(std::memory_order_acquire)) [[unlikely]]
        initNoise();
    return noiseTables;
}

} // namespace

float noise(const Vector& point)
{
    return noiseInCell(readyTables(), point.x, point.y, point.z);
}

void noise(const float* x, const float* y, const float* z, float* results, int count)
{
    const NoiseTables& tables = readyTables();
    noiseAtMany(tables, x, y, z, results, count);
}

} // namespace Marl
