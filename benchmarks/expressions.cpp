// The expressions that are measured, in every form that contenders take them in.
#include <benchmarks/rows.h>

#include <benchmarks/formula_compiled.h>
#include <benchmarks/formula_text.h>
#include <benchmarks/formula_tree.h>

namespace Bench {

namespace {

const std::vector<double> checkedTimes = {0.5, 0.7071, 1.25, 3, 9.999};

template <Kind kind, class Formula>
Expression row(const char* name, Formula formula)
{
    Expression made;
    made.name = name;
    made.kind = kind;
    made.tree = formula(timeTree()).node;
    if constexpr (kind != Kind::Transforms)
        made.text = formula(Text("t")).text;
    if constexpr (kind != Kind::Noise) {
        made.compiled = [](double t) -> double { return Formula()(t); };
        made.expected.tolerance = kind == Kind::Numbers ? doubleTolerance : singleTolerance;
        made.expected.inputs = checkedTimes;
        for (const double t : checkedTimes)
            made.expected.results.push_back(made.compiled(t));
    }
    return made;
}

// One of endless expressions, of 12 operations on average. The left end is always the time, so
// that none is constant.
template <class N>
N grown(const N& t, Dice& dice, unsigned depth, bool isLeftEnd)
{
    if (depth == 0 || (depth < 3 && dice.roll(4) == 0))
        return isLeftEnd || dice.roll(2) == 0 ? t : N((1 + dice.roll(99)) / 100.0);
    const N left = grown(t, dice, depth - 1, isLeftEnd);
    const unsigned operation = dice.roll(5);
    if (operation == 4)
        return sin(left);
    const N right = operation == 3 ? N(1 + dice.roll(9)) : grown(t, dice, depth - 1, false);
    switch (operation) {
    case 0: return left + right;
    case 1: return left - right;
    case 2: return left * right;
    default: return left / right;
    }
}

template <class N>
N grownFrom(std::size_t seed, const N& t)
{
    Dice dice(seed);
    return grown(t, dice, 5, true);
}

template <class N>
auto stretched(const N& t)
{
    return xform(mat(vec(t, 0, 0), vec(N(0.5), t, 0), vec(N(0), 0.25, 1)), vec(N(1), 2, t));
}

} // namespace

// One line is one expression: the letter N is a double, a text or a tree in turn. A number that
// meets only other numbers is written N(2), so that C++ does not compute it beforehand.
// clang-format off
std::vector<Expression> expressions()
{
    using enum Kind;
    return {
        row<Numbers>("t", []<class N>(N t) { return t; }),
        row<Numbers>("S1", []<class N>(N t) { return t + 1; }),
        row<Numbers>("S2", []<class N>(N t) { return 2 * t * t - 3 * t + 0.5; }),
        row<Numbers>("S3", []<class N>(N t) { return t + 5.123 + 2 * t - t / 5.123 * 2 - t - t * 5.123 * 2 - t / (t + 5.123) + 2 * t; }),
        row<Numbers>("S4", []<class N>(N t) { return sqrt(111.111 - sin(2 * t) + cos(3.1415926 / (t + 1)) / 333.333); }),
        row<Numbers>("S5", []<class N>(N t) { return t * t / sin(N(2) * 3.14159 / (t + 2)) - t / 2; }),
        row<Numbers>("S6", []<class N>(N t) { N sum = 1; for (int i = 0; i < 32; ++i) sum = sum * t + i * 0.01; return sum; }),
        row<Vectors>("vector", []<class N>(N t) { return dot(0.5 * (vec(N(1), 2, 3) * t + vec(N(4), 5, 6)), vec(N(1), 0, 1)); }),
        row<Transforms>("transform of a vector", []<class N>(N t) { return dot(stretched(t) * vec(N(1), 2, 3), vec(N(1), 0, 1)); }),
        row<Transforms>("two transforms of a vector", []<class N>(N t) { return dot(stretched(t) * stretched(N(0.5)) * vec(N(1), 2, 3), vec(N(1), 0, 1)); }),
        row<Noise>("noise of a vector", []<class N>(N t) { return noise(vec(t * 17.3, t * 5.7, t * 1.9)); }),
    };
}
// clang-format on

void growScene(Suite& suite)
{
    constexpr std::size_t count = 2000;
    for (std::size_t i = 0; i < count; ++i) {
        Expression grown;
        grown.text = grownFrom(i, Text("t")).text;
        grown.tree = grownFrom(i, timeTree()).node;
        suite.scene.push_back(grown);
        for (const double t : {0.5, 1.25}) {
            suite.sceneExpected.inputs.push_back({i, t});
            suite.sceneExpected.results.push_back(grownFrom(i, t));
        }
    }
    suite.sceneExpected.tolerance = doubleTolerance;
}

} // namespace Bench
