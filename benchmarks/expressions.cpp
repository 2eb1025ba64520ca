// The expressions in every form that contenders take them in, and what they must come to.
#include <benchmarks/rows.h>

#include <benchmarks/formula_text.h>
#include <benchmarks/formula_tree.h>
#include <benchmarks/formulas.h>
#include <benchmarks/grown.h>

namespace Bench {

namespace {

// Without order, and no multiple of what anybody computes at once.
std::vector<double> checkedTimes()
{
    std::vector<double> times(1001);
    Dice dice;
    for (double& time : times)
        time = 0.5 + 9.5 * dice.fraction();
    return times;
}

template <Kind kind, class Formula>
Expression row(const char* name, Formula formula, const std::vector<double>& times)
{
    Expression made;
    made.name = name;
    made.kind = kind;
    made.tree = resolved(formula(timeTree())).node;
    made.native = [](double t) -> double { return Formula()(t); };
    made.expected.inputs = times;
    made.expected.tolerance = kind == Kind::Vectors || kind == Kind::Transforms ? singleTolerance : 0;
    for (const double t : times)
        made.expected.results.push_back(kind == Kind::Noise ? walked(made.tree, t).getDouble() : made.native(t));
    return made;
}

// The expression compiled beforehand; nobody can look into the call.
class NativeFormula {
public:
    explicit NativeFormula(const Expression& expression) : function(expression.native) {}
    static bool canRead(const Expression& expression) { return expression.native; }
    double operator()(double time) const { return function(time); }

private:
    double (*function)(double);
};

} // namespace

void addExpressions(Suite& suite)
{
    const std::vector<double> times = checkedTimes();
    forEachFormula([&]<Kind kind>(std::integral_constant<Kind, kind>, const char* name, auto formula) {
        Expression& made = suite.expressions.emplace_back(row<kind>(name, formula, times));
        if constexpr (kind != Kind::Transforms)
            made.text = formula(Text("t")).text;
    });
    forEachGrowing(
        [&]<Kind kind>(std::integral_constant<Kind, kind>, const char* name, double references, auto formula) {
            suite.growing.push_back(row<kind>(name, formula, times));
            suite.growing.back().isEndlessWalk = references > 1e5;
        });

    for (int i = 0; i < 64; ++i)
        suite.sceneTimes.push_back(0.5 + 0.02 * i);
    for (std::size_t i = 0; i < sceneSize; ++i) {
        Expression made;
        made.name = std::to_string(i);
        made.text = grownFrom(i, Text("t")).text;
        made.tree = resolved(grownFrom(i, timeTree())).node;
        suite.scene.push_back(made);
        for (const double t : suite.sceneTimes) {
            suite.sceneExpected.inputs.push_back({i, t});
            suite.sceneExpected.results.push_back(grownFrom(i, t));
        }
    }
}

void addFormulas(const Suite& suite)
{
    addExpressionRows<MarlFormula>("one time", marl, suite.expressions);
    addExpressionRows<MarlFormula>("one time", scoped, suite.expressions);
    addFormulaRows<WalkFormula>(walk, suite);
    addFormulaRows<NativeFormula>(native, suite);
    const auto scene = std::make_shared<MarlBatch>(suite.scene);
    addSceneRows(marl, suite, [scene](const Moment& m) { return (*scene)(m); });
    addBatchRows<MarlBatch>(marl, suite);

    addExpressionRows<MarlFormula>("growing", marl, suite.growing);
    addExpressionRows<WalkFormula>("growing", walk, suite.growing);
    addExpressionRows<NativeFormula>("growing", native, suite.growing);
    const auto compile = [trees = MarlBatch::treesOf(suite.scene)](double) {
        return Marl::CompiledExpressions(trees).size();
    };
    addRow("growing/compiling 2,000, each", marl, Rising(0, 1, 1), compile, {}, suite.scene.size());
}

} // namespace Bench
