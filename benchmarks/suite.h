// What all contenders share: the inputs, the loop around an evaluation, and the report's rows.
//
// A row is measured under the name "what/who". Contenders that are not part of the project are
// modules, loaded by the program and given the suite; see peers/.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Marl {
class ExpressionAST;
}

namespace Bench {

// Draws the same numbers for every contender.
class Dice {
public:
    explicit Dice(std::uint64_t seed = 1) : state(seed) {}
    double fraction() { return static_cast<double>(next() >> 11) * 0x1p-53; }
    unsigned roll(unsigned sides) { return static_cast<unsigned>(next() >> 33) % sides; }

private:
    std::uint64_t next() { return state = state * 6364136223846793005u + 1442695040888963407u; }
    std::uint64_t state;
};

// Times that rise from first to last, again and again. They begin in the middle, which is the
// average place where a long walk over keys ends.
class Rising {
public:
    using Input = double;
    Rising(double from, double to, double by) : first(from), last(to), step(by), time((from + to) / 2) {}
    double next()
    {
        time += step;
        if (time > last)
            time = first;
        return time;
    }

private:
    double first, last, step, time;
};

// Times between 0 and last, without order.
class Random {
public:
    using Input = double;
    explicit Random(double to) : last(to) {}
    double next() { return dice.fraction() * last; }

private:
    double last;
    Dice dice;
};

// One expression of a scene at one time.
struct Moment {
    std::size_t index;
    double time;
};

// Every expression of a scene once, then all of them at the next time.
class Laps {
public:
    using Input = Moment;
    explicit Laps(std::size_t expressions) : count(expressions) {}
    Moment next()
    {
        if (++moment.index >= count)
            moment = {0, times.next()};
        return moment;
    }

private:
    std::size_t count;
    Rising times{0.5, 2, 0.01};
    Moment moment{0, 0.5};
};

// Every expression of a scene at 100 times in one go, then the next expression.
class InOneGo {
public:
    using Input = Moment;
    explicit InOneGo(std::size_t expressions) : count(expressions) {}
    Moment next()
    {
        if (++evaluations % 100 == 0 && ++moment.index >= count)
            moment.index = 0;
        moment.time = times.next();
        return moment;
    }

private:
    std::size_t count;
    unsigned evaluations = 0;
    Rising times{0.5, 2, 0.01};
    Moment moment{0, 0.5};
};

struct Point {
    float x, y, z;
};

// The given points, again and again; they outlive the measurement.
class Scattered {
public:
    using Input = Point;
    explicit Scattered(const std::vector<Point>& given) : points(given) {}
    const Point& next()
    {
        if (++i >= points.size())
            i = 0;
        return points[i];
    }

private:
    const std::vector<Point>& points;
    std::size_t i = 0;
};

// What an evaluation must come to, as compiled C++ does, and how far it may be off: relative to
// the result where that is above 1. Without inputs there is nothing to compare.
template <class Input>
struct Expected {
    std::vector<Input> inputs;
    std::vector<double> results;
    double tolerance = 0;

    std::optional<double> differenceOf(auto&& evaluate) const
    {
        std::optional<double> largest;
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            const double result = static_cast<double>(evaluate(inputs[i]));
            if (std::isnan(result))
                return std::numeric_limits<double>::max();
            const double difference = std::abs(result - results[i]) / std::max(1.0, std::abs(results[i]));
            largest = std::max(largest.value_or(0), difference);
        }
        return largest;
    }
};

// Double arithmetic in another order of steps, and arithmetic in single precision.
constexpr double doubleTolerance = 1e-12, singleTolerance = 1e-6;

enum class Kind { Numbers, Vectors, Transforms, Noise };

// One formula in the forms that contenders take it in.
struct Expression {
    std::string name;
    Kind kind = Kind::Numbers;
    std::string text; // empty for transforms, which nobody else has
    Marl::ExpressionAST* tree = nullptr;
    double (*compiled)(double time) = nullptr; // null for noise and for the scene
    Expected<double> expected;
};

// Numbers over time, at uneven distances of 1 on average, on straight lines in between.
struct Curve {
    std::string name;
    std::vector<double> times, values; // times ascend from 0
    Expected<double> expected;
};

struct Suite {
    std::vector<Expression> expressions; // each a row of its own
    std::vector<Expression> scene;       // a row together
    Expected<Moment> sceneExpected;
    std::vector<Curve> curves;
    std::vector<Point> points;
};

// One row of one contender; its results are compared once, before anything is measured.
template <class Inputs, class Evaluate>
benchmark::internal::Benchmark* addRow(const std::string& what, const std::string& who, const Inputs& inputs,
                                       const Evaluate& evaluate,
                                       const Expected<typename Inputs::Input>& expected = {})
{
    const auto difference = expected.differenceOf(evaluate);
    const double tolerance = expected.tolerance;
    const auto measure = [=](benchmark::State& state) {
        Inputs next = inputs;
        for (auto _ : state)
            benchmark::DoNotOptimize(evaluate(next.next()));
        state.counters["tolerance"] = tolerance;
        if (difference)
            state.counters["difference"] = *difference;
    };
    return benchmark::RegisterBenchmark((what + "/" + who).c_str(), measure);
}

// The rows of the expressions and of the scene. A Formula is made from an expression that it
// canRead(), and called with a time.
template <class Formula>
void addFormulaRows(const std::string& who, const Suite& suite)
{
    for (const Expression& expression : suite.expressions)
        if (Formula::canRead(expression)) {
            const auto formula = std::make_shared<Formula>(expression);
            addRow(
                expression.name, who, Rising(0.5, 10, 0.001), [formula](double t) { return (*formula)(t); },
                expression.expected);
        }

    if (!Formula::canRead(suite.scene.front()))
        return;
    const auto formulas = std::make_shared<std::vector<std::unique_ptr<Formula>>>();
    for (const Expression& expression : suite.scene)
        formulas->push_back(std::make_unique<Formula>(expression));
    const auto evaluate = [formulas](const Moment& m) { return (*(*formulas)[m.index])(m.time); };
    addRow("scene of 2,000, cold", who, Laps(formulas->size()), evaluate, suite.sceneExpected);
    addRow("scene of 2,000, in one go", who, InOneGo(formulas->size()), evaluate, suite.sceneExpected);
}

// The rows of a curve; a suffix tells the ways apart in which one contender holds it.
template <class Formula>
void addCurveRows(const std::string& who, const Curve& curve, const std::shared_ptr<Formula>& formula,
                  const std::string& suffix = "")
{
    const auto evaluate = [formula](double t) { return (*formula)(t); };
    const double last = curve.times.back();
    addRow(curve.name + suffix + ", rising", who, Rising(0, last, 0.37), evaluate, curve.expected);
    addRow(curve.name + suffix + ", random", who, Random(last), evaluate, curve.expected);
}

} // namespace Bench
