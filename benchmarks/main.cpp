// Runs every row of every contender. The options are those of Google Benchmark; scripts/bench
// gives the usual ones.
#include <benchmarks/rows.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <sstream>

#include <dlfcn.h>

namespace {

std::atomic<bool> isCounting = false;
std::atomic<std::int64_t> allocations = 0;

// Counts in a run of its own beside the timed ones.
class AllocationCounter final : public benchmark::MemoryManager {
public:
    void Start() override
    {
        allocations = 0;
        isCounting = true;
    }
    void Stop(Result& result) override
    {
        isCounting = false;
        result.num_allocs = allocations;
    }
    void Stop(Result* result) override { Stop(*result); }
};

} // namespace

void* operator new(std::size_t size)
{
    if (isCounting.load(std::memory_order_relaxed))
        ++allocations;
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace Bench {

namespace {

// Modules keep their symbols to themselves, so that two versions of one language get along.
void addPeer(const std::string& path, const Suite& suite)
{
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* found = module ? dlsym(module, "addRows") : nullptr;
    if (!found) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(1);
    }
    reinterpret_cast<void (*)(const Suite&)>(found)(suite);
}

// Whether the module of loops can run here; see CMakeLists.txt.
bool hasProcessorOfLoops()
{
#ifdef __x86_64__
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi2");
#else
    return true;
#endif
}

} // namespace
} // namespace Bench

int main(int argc, char** argv)
{
    using namespace Bench;
    Suite suite;
    addExpressions(suite);
    suite.curves = curves();
    suite.points = scatteredPoints();

    addFormulas(suite);
    addCurves(suite);
    addNoise(suite);
    addListsAndText();
    addThreads(suite);
    if (hasProcessorOfLoops())
        addPeer(BENCH_LOOPS, suite);
    setenv("OMP_NUM_THREADS", "1", 1); // muParser would share a batch out to all processors
    std::istringstream peers(BENCH_PEERS);
    for (std::string path; std::getline(peers, path, ':');)
        addPeer(path, suite);

    AllocationCounter counter;
    benchmark::RegisterMemoryManager(&counter);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
}
