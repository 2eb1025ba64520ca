// Batches in C++, as the limit of what can be reached: a loop over the times for each expression.
//
// A module compiled for the processors of today, so that the program, which runs on any, has no
// inline function from here.
#include <benchmarks/formulas.h>
#include <benchmarks/loops.h>
#include <benchmarks/search.h>

#include <map>

namespace Bench {

namespace {

template <class Formula>
void overTimes(const double* __restrict times, double* __restrict results, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        results[i] = Formula()(times[i]);
}

std::map<std::string, Loop> namedLoops()
{
    std::map<std::string, Loop> loops;
    forEachFormula([&](auto, const char* name, auto formula) { loops[name] = overTimes<decltype(formula)>; });
    for (std::size_t i = 0; i < sceneSize; ++i)
        loops[std::to_string(i)] = sceneLoops[i];
    return loops;
}

class LoopFormula {
public:
    explicit LoopFormula(const Expression& expression)
    {
        static const std::map<std::string, Loop> all = namedLoops();
        loop = all.at(expression.name);
    }
    static bool canRead(const Expression&) { return true; }
    void operator()(std::span<const double> times, double* results) const
    {
        loop(times.data(), results, times.size());
    }

private:
    Loop loop;
};

class SearchLoop {
public:
    explicit SearchLoop(const Curve& curve) : search(curve) {}
    void operator()(std::span<const double> times, double* results) const
    {
        for (std::size_t i = 0; i < times.size(); ++i)
            results[i] = search(times[i]);
    }

private:
    Search search;
};

} // namespace

extern "C" void addRows(const Suite& suite)
{
    const Contender native{"C++"};
    addBatchRows<OneByOne<LoopFormula>>(native, suite);
    for (const Curve& curve : suite.curves)
        addCurveBatchRows(native, curve, std::make_shared<OneByOne<SearchLoop>>(std::make_unique<SearchLoop>(curve)));
}

} // namespace Bench
