#include <benchmarks/suite.h>

#include <KSeExpr/ExprFunc.h>
#include <KSeExpr/Expression.h>
#include <KSeExpr/Noise.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace Bench {

namespace {

class KSeExprFormula : KSeExpr::Expression {
public:
    explicit KSeExprFormula(const std::string& text) : KSeExpr::Expression(text, KSeExpr::ExprType().FP(1))
    {
        if (!isValid()) {
            std::fprintf(stderr, "KSeExpr does not read %s\n", text.substr(0, 200).c_str());
            std::exit(1);
        }
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
    addFormulaRows<KSeExprFormula>("KSeExpr", suite);
    for (const Curve& curve : suite.curves)
        addCurveRows("KSeExpr", curve, std::make_shared<KSeExprFormula>(curveText(curve)));
    addRow("noise call", "KSeExpr", Scattered(suite.points), [](const Point& p) {
        const double at[3] = {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)};
        double result;
        KSeExpr::Noise<3, 1, double>(at, &result);
        return result;
    });
}

} // namespace Bench
