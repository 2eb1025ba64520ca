#include <benchmarks/suite.h>

#include <KSeExpr/ExprFunc.h>
#include <KSeExpr/Expression.h>
#include <KSeExpr/Noise.h>
#include <KSeExpr/VarBlock.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace Bench {

namespace {

void checkReads(bool isValid, const std::string& text)
{
    if (!isValid) {
        std::fprintf(stderr, "KSeExpr does not read %s\n", text.substr(0, 200).c_str());
        std::exit(1);
    }
}

class KSeExprFormula : KSeExpr::Expression {
public:
    explicit KSeExprFormula(const std::string& text) : KSeExpr::Expression(text, KSeExpr::ExprType().FP(1))
    {
        checkReads(isValid(), text);
    }
    explicit KSeExprFormula(const Bench::Expression& expression) : KSeExprFormula(expression.text) {}
    static bool canRead(const Bench::Expression& expression) { return expression.kind != Kind::Transforms; }
    double operator()(double t)
    {
        time.value = t;
        return *evalFP();
    }

private:
    struct Time final : KSeExpr::ExprVarRef {
        Time() : ExprVarRef(KSeExpr::ExprType().FP(1).Varying()) {}
        void eval(double* result) override { *result = value; }
        void eval(const char**) override {}
        double value = 0;
    };
    KSeExpr::ExprVarRef* resolveVar(const std::string& name) const override { return name == "t" ? &time : nullptr; }

    mutable Time time;
};

// Where an evaluation of many times finds them and leaves its results.
class Arrays {
public:
    const KSeExpr::VarBlockCreator& names() const { return creator; }
    void evaluate(const KSeExpr::Expression& expression, std::span<const double> given, double* taken)
    {
        block.Pointer(static_cast<std::uint32_t>(times)) = const_cast<double*>(given.data()); // only read
        block.Pointer(static_cast<std::uint32_t>(results)) = taken;
        expression.evalMultiple(&block, results, 0, given.size());
    }

private:
    int added(const char* name) { return creator.registerVariable(name, KSeExpr::ExprType().FP(1).Varying()); }

    KSeExpr::VarBlockCreator creator;
    const int times = added("t"), results = added("results");
    KSeExpr::VarBlock block = creator.create();
};

class KSeExprMultiple : KSeExpr::Expression {
public:
    explicit KSeExprMultiple(const std::string& text) : KSeExpr::Expression(text, KSeExpr::ExprType().FP(1))
    {
        setVarBlockCreator(&arrays.names());
        checkReads(isValid(), text);
    }
    explicit KSeExprMultiple(const Bench::Expression& expression) : KSeExprMultiple(expression.text) {}
    static bool canRead(const Bench::Expression& expression) { return KSeExprFormula::canRead(expression); }
    void operator()(std::span<const double> times, double* results) { arrays.evaluate(*this, times, results); }

private:
    KSeExpr::ExprVarRef* resolveVar(const std::string& name) const override
    {
        return arrays.names().resolveVar(name);
    }

    Arrays arrays;
};

std::string curveText(const Curve& curve)
{
    std::string text = "curve(t";
    const auto append = [&text](double number) {
        char digits[32];
        text += ',';
        text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    };
    for (std::size_t i = 0; i < curve.times.size(); ++i) {
        append(curve.times[i]);
        append(curve.values[i]);
        append(1); // a straight line
    }
    return text + ")";
}

} // namespace

extern "C" void addRows(const Suite& suite)
{
    const Contender kseexpr{"KSeExpr"};
    addFormulaRows<KSeExprFormula>(kseexpr, suite);
    addBatchRows<OneByOne<KSeExprMultiple>>(kseexpr, suite);
    for (const Curve& curve : suite.curves) {
        const std::string text = curveText(curve);
        addCurveRows(kseexpr, curve, std::make_shared<KSeExprFormula>(text));
        addCurveBatchRows(kseexpr, curve,
                          std::make_shared<OneByOne<KSeExprMultiple>>(std::make_unique<KSeExprMultiple>(text)));
    }
    addRow("walk alone/noise call", kseexpr, Scattered(suite.points), [](const Point& p) {
        const double at[3] = {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)};
        double result;
        KSeExpr::Noise<3, 1, double>(at, &result);
        return result;
    });
}

} // namespace Bench
