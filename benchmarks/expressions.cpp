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

// Groups of a number and three properties, each of which refers to the one before.
class EditedScene {
public:
    EditedScene()
    {
        Marl::ObjectAST* object = scene.addObject("scene");
        const auto nameOf = [](std::size_t i) { return "property " + std::to_string(i); };
        for (std::size_t i = 0; i < size; ++i) {
            auto* number = scene.make<Marl::NumberExpressionAST>();
            number->number = static_cast<double>(i);
            Marl::ExpressionAST* expression = number;
            if (i % group != 0) {
                auto* reference = scene.make<Marl::PropertyReferenceAST>();
                reference->objectName = "scene";
                reference->propertyName = nameOf(i - 1).c_str();
                auto* call = scene.make<Marl::BuiltinFunctionAST>();
                call->functionId = static_cast<int>(Marl::Builtin::Time);
                auto* sum = scene.make<Marl::BinaryExpressionAST>();
                sum->op = Marl::TOKEN_PLUS;
                sum->left = reference;
                sum->right = call;
                expression = sum;
            }
            properties.push_back(object->addProperty(nameOf(i).c_str(), expression));
        }
        Marl::DecorationVisitor pass;
        pass.setProgram(&scene);
        pass.setObject(object);
        std::vector<Marl::ExpressionAST*> expressions;
        for (Marl::PropertyAST* property : properties) {
            pass.setProperty(property);
            property->expression->accept(&pass);
            expressions.push_back(property->expression);
        }
        compiled.emplace(expressions);
        evaluator.emplace(*compiled);
    }

    // Another number, somewhere, and the values of all that depends on it.
    double edit(double time)
    {
        const std::size_t edited = dice.roll(static_cast<unsigned>(size / group)) * group;
        static_cast<Marl::NumberExpressionAST*>(properties[edited]->expression)->number = time;
        compiled->update({&properties[edited], 1});
        double sum = 0;
        for (std::size_t i = 0; i < group; ++i)
            sum += evaluator->valueAt(time, edited + i).getDouble();
        return sum;
    }

private:
    static constexpr std::size_t size = 200'000, group = 4;

    Dice dice;
    Marl::ProgramAST scene;
    std::vector<Marl::PropertyAST*> properties;
    std::optional<Marl::CompiledExpressions> compiled;
    std::optional<Marl::BatchEvaluator> evaluator;
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
    // Made when it is first measured, for it takes a while.
    const auto edited = std::make_shared<std::optional<EditedScene>>();
    const auto compare = [edited] {
        if (!*edited)
            edited->emplace();
        const double time = 0.3, second = time + time, third = second + time;
        return Comparison{std::abs((*edited)->edit(time) - (time + second + third + (third + time))), 0};
    };
    const auto edit = [edited](double time) { return (*edited)->edit(time); };
    addRow("growing/editing one of 200,000", marl, Rising(0, 10, 0.01), edit, compare);
}

} // namespace Bench
