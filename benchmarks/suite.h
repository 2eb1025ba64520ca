// What all contenders share: the inputs, the loop around an evaluation, and the report's rows.
//
// A row is measured under the name "table/row/contender". Contenders that are not part of the project
// are modules, loaded by the program and given the suite; see peers/.
#pragma once

#include <benchmarks/dice.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Marl {
class ExpressionAST;
}

namespace Bench {

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

// Times in batches of one size, one batch after the other and then again; together more of them than
// branch predictors learn by heart.
class Batches {
public:
    using Input = std::span<const double>;

    // Each batch rises by the step, or by less where it would leave the range, from somewhere in it.
    static Batches rising(std::size_t size, double first, double last, double step)
    {
        Batches made(size);
        const auto steps = static_cast<double>(size - 1);
        const double by = std::min(step, (last - first) / steps);
        Dice dice;
        double time = 0;
        for (std::size_t i = 0; i < made.times->size(); ++i) {
            time = i % size == 0 ? first + dice.fraction() * (last - first - by * steps) : time + by;
            (*made.times)[i] = time;
        }
        return made;
    }

    static Batches random(std::size_t size, double last)
    {
        Batches made(size);
        Random random(last);
        for (double& time : *made.times)
            time = random.next();
        return made;
    }

    std::span<const double> next()
    {
        begin = (begin + size) % times->size();
        return std::span(*times).subspan(begin, size);
    }

    const std::size_t size;

private:
    explicit Batches(std::size_t one) : size(one), times(new std::vector<double>((1 << 16) / one * one)) {}

    std::shared_ptr<std::vector<double>> times;
    std::size_t begin = 0;
};

// Who is measured.
struct Contender {
    std::string name;
    bool isMarl = false; // then numbers have the bits of compiled C++, and noise is our noise
    // What its host opens around a loop of calls.
    std::function<std::shared_ptr<void>()> surroundings = {};
};

// Double arithmetic in another order of steps, and arithmetic in single precision.
constexpr double doubleTolerance = 1e-12, singleTolerance = 1e-6;

// How far results are off, relative to the result where that is above 1, and how far they may be.
struct Comparison {
    double difference = 0;
    double tolerance = 0;
};

// What an evaluation must come to, as compiled C++ does, and how far Marl may be off.
template <class Input>
struct Expected {
    std::vector<Input> inputs;
    std::vector<double> results;
    double tolerance = 0;

    Comparison compare(const Contender& who, const std::vector<double>& given) const
    {
        constexpr double wrong = std::numeric_limits<double>::max();
        Comparison comparison;
        comparison.tolerance = who.isMarl ? tolerance : std::max(tolerance, doubleTolerance);
        comparison.difference = given.size() == results.size() ? 0 : wrong;
        for (std::size_t i = 0; i < std::min(given.size(), results.size()); ++i) {
            const double difference = std::abs(given[i] - results[i]) / std::max(1.0, std::abs(results[i]));
            comparison.difference = std::max(comparison.difference, std::isnan(difference) ? wrong : difference);
        }
        return comparison;
    }

    Comparison compareEach(const Contender& who, auto&& evaluate) const
    {
        std::vector<double> given;
        for (const Input& input : inputs)
            given.push_back(static_cast<double>(evaluate(input)));
        return compare(who, given);
    }
};

enum class Kind { Numbers, Vectors, Transforms, Noise };

// One formula in the forms that contenders take it in.
struct Expression {
    std::string name;
    Kind kind = Kind::Numbers;
    std::string text; // empty for transforms, which nobody else has, and for what grows
    Marl::ExpressionAST* tree = nullptr;
    double (*native)(double time) = nullptr; // null in the scene
    bool isEndlessWalk = false;              // references make the walk longer than anybody waits
    Expected<double> expected;

    // Noise is another function in every library.
    bool isExpectedFrom(const Contender& who) const { return kind != Kind::Noise || who.isMarl; }
};

// Numbers over time, at uneven distances of 1 on average, on straight lines in between.
struct Curve {
    std::string name;
    std::vector<double> times, values; // times ascend from 0
    Expected<double> expected;
};

struct Suite {
    std::vector<Expression> expressions; // each a row of its own
    std::vector<Expression> growing;     // rows that show what grows with the length of the scene
    std::vector<Expression> scene;       // a row together
    std::vector<double> sceneTimes;
    Expected<Moment> sceneExpected; // every expression at all sceneTimes, then the next
    std::vector<Curve> curves;
    std::vector<Point> points;
};

// Compares when the row is first measured, so that a filter saves the time of the others.
using Compare = std::function<Comparison()>;

// One row of one contender. An evaluation that comes to many values is reported for one of them.
template <class Inputs, class Evaluate>
benchmark::internal::Benchmark* addRow(const std::string& what, const Contender& who, const Inputs& inputs,
                                       const Evaluate& evaluate, const Compare& compare = {}, std::size_t values = 1)
{
    const auto comparison = std::make_shared<std::optional<Comparison>>();
    const auto measure = [=](benchmark::State& state) {
        if (compare && !*comparison)
            *comparison = compare();
        Inputs next = inputs;
        const auto around = who.surroundings ? who.surroundings() : nullptr;
        for (auto _ : state)
            benchmark::DoNotOptimize(evaluate(next.next()));
        state.counters["values"] = {static_cast<double>(values), benchmark::Counter::kAvgThreads};
        if (*comparison) {
            state.counters["difference"] = (*comparison)->difference;
            state.counters["tolerance"] = (*comparison)->tolerance;
        }
    };
    return benchmark::RegisterBenchmark((what + "/" + who.name).c_str(), measure);
}

// A row for each expression that the Formula canRead(); it is made from one, and called with a time.
template <class Formula>
void addExpressionRows(const std::string& table, const Contender& who, const std::vector<Expression>& expressions)
{
    for (const Expression& expression : expressions)
        if (Formula::canRead(expression)) {
            const auto formula = std::make_shared<Formula>(expression);
            const auto evaluate = [formula](double t) { return (*formula)(t); };
            Compare compare;
            if (expression.isExpectedFrom(who))
                compare = [=, &expression] { return expression.expected.compareEach(who, evaluate); };
            addRow(table + "/" + expression.name, who, Rising(0.5, 10, 0.001), evaluate, compare);
        }
}

template <class Evaluate>
void addSceneRows(const Contender& who, const Suite& suite, const Evaluate& evaluate)
{
    const auto compare = [=, &suite] { return suite.sceneExpected.compareEach(who, evaluate); };
    addRow("one time/scene of 2,000, cold", who, Laps(suite.scene.size()), evaluate, compare);
    addRow("one time/scene of 2,000, in one go", who, InOneGo(suite.scene.size()), evaluate, compare);
}

// The rows of the expressions and of the scene, where each is a Formula of its own.
template <class Formula>
void addFormulaRows(const Contender& who, const Suite& suite)
{
    addExpressionRows<Formula>("one time", who, suite.expressions);
    if (!Formula::canRead(suite.scene.front()))
        return;
    const auto formulas = std::make_shared<std::vector<std::unique_ptr<Formula>>>();
    for (const Expression& expression : suite.scene)
        formulas->push_back(std::make_unique<Formula>(expression));
    addSceneRows(who, suite, [formulas](const Moment& m) { return (*(*formulas)[m.index])(m.time); });
}

// The rows of a curve; a suffix tells the ways apart in which one contender holds it.
template <class Formula>
void addCurveRows(const Contender& who, const Curve& curve, const std::shared_ptr<Formula>& formula,
                  const std::string& suffix = "")
{
    const auto evaluate = [formula](double t) { return (*formula)(t); };
    const auto compare = [=, &curve] { return curve.expected.compareEach(who, evaluate); };
    const std::string what = "one time/" + curve.name + suffix;
    const double last = curve.times.back();
    addRow(what + ", rising", who, Rising(0, last, 0.37), evaluate, compare);
    addRow(what + ", random", who, Random(last), evaluate, compare);
}

// How many times come in a batch, and the table of its rows.
struct BatchSize {
    const char* table;
    std::size_t times;
};
constexpr BatchSize batchSizes[] = {{"batch of 1,024", 1024}, {"batch of 16", 16}};

// Who takes batches evaluates all its expressions at all times, and then shows a column for each.
// This is the batch of those who take one expression at a time: the Formula is made from whatever it
// reads, and called with the times and the place of as many results.
template <class Formula>
class OneByOne {
public:
    explicit OneByOne(std::span<const Expression> expressions)
    {
        for (const Expression& expression : expressions)
            rows.push_back({std::make_unique<Formula>(expression), {}});
    }
    explicit OneByOne(std::unique_ptr<Formula> formula) { rows.push_back({std::move(formula), {}}); }
    static bool canRead(const Expression& expression) { return Formula::canRead(expression); }

    void evaluate(std::span<const double> times)
    {
        for (auto& [formula, results] : rows) {
            results.resize(times.size());
            (*formula)(times, results.data());
        }
    }
    std::span<const double> column(std::size_t i) const { return rows[i].results; }

private:
    struct Row {
        std::unique_ptr<Formula> formula;
        std::vector<double> results;
    };
    std::vector<Row> rows;
};

template <class Batch>
void addBatchRow(const std::string& what, const Contender& who, const Batches& batches,
                 const std::shared_ptr<Batch>& batch, const Compare& compare, std::size_t expressions = 1)
{
    const auto evaluate = [batch, expressions](std::span<const double> times) {
        batch->evaluate(times);
        for (std::size_t i = 0; i < expressions; ++i)
            benchmark::DoNotOptimize(batch->column(i).data());
        return times.size();
    };
    addRow(what, who, batches, evaluate, compare, batches.size * expressions);
}

// Of a batch of one expression, in pieces of the size that is measured.
template <class Batch>
Comparison compareBatch(const Expected<double>& expected, const Contender& who, Batch& batch, std::size_t size)
{
    std::vector<double> given;
    for (std::span<const double> rest = expected.inputs; !rest.empty();
         rest = rest.subspan(std::min(size, rest.size()))) {
        batch.evaluate(rest.first(std::min(size, rest.size())));
        given.insert(given.end(), batch.column(0).begin(), batch.column(0).end());
    }
    return expected.compare(who, given);
}

// Every expression at all sceneTimes.
template <class Batch>
Comparison compareScene(const Suite& suite, const Contender& who, Batch& batch)
{
    batch.evaluate(suite.sceneTimes);
    std::vector<double> given;
    for (std::size_t i = 0; i < suite.scene.size(); ++i)
        given.insert(given.end(), batch.column(i).begin(), batch.column(i).end());
    return suite.sceneExpected.compare(who, given);
}

// The batches of the expressions and of the scene. A Batch is made from expressions that it canRead().
template <class Batch>
void addBatchRows(const Contender& who, const Suite& suite)
{
    for (const Expression& expression : suite.expressions)
        for (const auto& [table, size] : batchSizes)
            if (Batch::canRead(expression)) {
                const auto batch = std::make_shared<Batch>(std::span(&expression, 1));
                Compare compare;
                if (expression.isExpectedFrom(who))
                    compare = [=, &expression, size = size] {
                        return compareBatch(expression.expected, who, *batch, size);
                    };
                addBatchRow(std::string(table) + "/" + expression.name, who, Batches::rising(size, 0.5, 10, 0.001),
                            batch, compare);
            }

    const auto batch = std::make_shared<Batch>(suite.scene);
    const auto compare = [=, &suite] { return compareScene(suite, who, *batch); };
    addBatchRow("batch of 64/scene of 2,000", who, Batches::rising(suite.sceneTimes.size(), 0.5, 2, 0.01), batch,
                compare, suite.scene.size());
}

// The batches of a curve.
template <class Batch>
void addCurveBatchRows(const Contender& who, const Curve& curve, const std::shared_ptr<Batch>& batch)
{
    const double last = curve.times.back();
    for (const auto& [table, size] : batchSizes) {
        const std::string what = std::string(table) + "/" + curve.name;
        const auto compare = [=, &curve, size = size] { return compareBatch(curve.expected, who, *batch, size); };
        addBatchRow(what + ", rising", who, Batches::rising(size, 0, last, 0.37), batch, compare);
        addBatchRow(what + ", random", who, Batches::random(size, last), batch, compare);
    }
}

} // namespace Bench
