// Keyed curves. Marl meets them in three states: resolved, so that constant times are noted and
// found by search; unresolved, so that the times, though plain numbers, are walked each time; and
// with times that really move.
#include <benchmarks/rows.h>

#include <benchmarks/formula_tree.h>

#include <algorithm>

namespace Bench {

namespace {

// What a host without expressions would write.
class Search {
public:
    explicit Search(const Curve& given) : curve(given) {}

    [[gnu::noinline]] double operator()(double t) const
    {
        const auto& [name, times, values, expected] = curve;
        if (!(t > times.front()))
            return values.front();
        if (t >= times.back())
            return values.back();
        const auto later = static_cast<std::size_t>(std::ranges::upper_bound(times, t) - times.begin());
        const double factor = (t - times[later - 1]) / (times[later] - times[later - 1]);
        return factor * values[later] + (1 - factor) * values[later - 1];
    }

private:
    const Curve& curve;
};

Curve unevenCurve(const char* name, int count)
{
    Curve curve;
    curve.name = name;
    Dice dice;
    double time = 0;
    for (int i = 0; i < count; ++i) {
        curve.times.push_back(time);
        curve.values.push_back(dice.roll(1000));
        time += 0.25 + 1.5 * dice.fraction();
    }
    curve.expected.tolerance = doubleTolerance;
    for (const double part : {-0.1, 0.0, 0.123, 0.5, 0.987, 1.0, 1.1}) {
        curve.expected.inputs.push_back(part * curve.times.back());
        curve.expected.results.push_back(Search(curve)(part * curve.times.back()));
    }
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

void resolve(Marl::ExpressionAST* root)
{
    Marl::DecorationVisitor pass;
    pass.setProgram(&program());
    root->accept(&pass);
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
        auto* resolved = interpolation(curve, constant);
        auto* unresolved = interpolation(curve, constant);
        auto* varying = interpolation(curve, moving);
        resolve(resolved);
        resolve(varying);
        addCurveRows("Marl", curve, std::make_shared<MarlFormula>(resolved));
        addCurveRows("C++", curve, std::make_shared<Search>(curve));
        addCurveRows("Marl", curve, std::make_shared<MarlFormula>(unresolved), " unresolved");
        addCurveRows("Marl", curve, std::make_shared<MarlFormula>(varying), " moving");
    }
}

} // namespace Bench
