// Keyed curves. Marl meets them in three states: resolved, so that constant times are noted and
// found by search; unresolved, so that the times, though plain numbers, are walked each time; and
// with times that really move.
#include <benchmarks/rows.h>

#include <benchmarks/formula_tree.h>
#include <benchmarks/search.h>

namespace Bench {

namespace {

// So that twice a key's time less another time is exact, as moving keys need it.
double inSteps(double time)
{
    return std::round(time * 1024) / 1024;
}

Curve unevenCurve(const char* name, int count)
{
    Curve curve;
    curve.name = name;
    Dice dice;
    double time = 0;
    for (int i = 0; i < count; ++i) {
        curve.times.push_back(time);
        curve.values.push_back(dice.roll(1000));
        time += inSteps(0.25 + 1.5 * dice.fraction());
    }
    // Without order, also before and behind the keys and on the first and last of them.
    for (int i = 0; i < 1000; ++i)
        curve.expected.inputs.push_back(inSteps((1.2 * dice.fraction() - 0.1) * curve.times.back()));
    curve.expected.inputs.insert(curve.expected.inputs.end(), {0, curve.times.back()});
    for (const double t : curve.expected.inputs)
        curve.expected.results.push_back(Search(curve)(t));
    return curve;
}

template <class TimeOfKey>
Marl::InterpolateExpressionAST* interpolation(const Curve& curve, TimeOfKey timeOfKey)
{
    auto* made = program().make<Marl::InterpolateExpressionAST>();
    for (std::size_t i = 0; i < curve.times.size(); ++i)
        program().append(made, timeOfKey(curve.times[i]).node, Tree(curve.values[i]).node);
    return made;
}

} // namespace

std::vector<Curve> curves()
{
    return {unevenCurve("8 keys", 8), unevenCurve("10,000 keys", 10'000)};
}

void addCurves(const Suite& suite)
{
    const auto constant = [](double time) { return Tree(time); };
    // Meets the running time t where 2k - t = t, that is, at t = k: the values are those of constant keys.
    const auto moving = [](double time) { return 2 * time - timeTree(); };

    for (const Curve& curve : suite.curves) {
        auto* unresolved = interpolation(curve, constant);
        auto* fixed = resolved(Tree(interpolation(curve, constant))).node;
        auto* varying = resolved(Tree(interpolation(curve, moving))).node;
        addCurveRows(marl, curve, std::make_shared<MarlFormula>(fixed));
        addCurveRows(walk, curve, std::make_shared<WalkFormula>(fixed));
        addCurveRows(native, curve, std::make_shared<Search>(curve));
        addCurveRows(walk, curve, std::make_shared<WalkFormula>(unresolved), " unresolved");
        addCurveRows(marl, curve, std::make_shared<MarlFormula>(varying), " moving");
        addCurveRows(walk, curve, std::make_shared<WalkFormula>(varying), " moving");
        addCurveBatchRows(marl, curve, std::make_shared<MarlBatch>(std::vector{fixed}));
    }
}

} // namespace Bench
