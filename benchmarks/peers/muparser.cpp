#include <benchmarks/suite.h>

#include <muParser.h>

namespace Bench {

namespace {

class MuParserFormula {
public:
    explicit MuParserFormula(const Expression& expression)
    {
        parser.DefineVar("t", &time);
        parser.SetExpr(expression.text);
    }
    static bool canRead(const Expression& expression) { return expression.kind == Kind::Numbers; }
    double operator()(double t)
    {
        time = t;
        return parser.Eval();
    }

private:
    double time = 0;
    mu::Parser parser;
};

} // namespace

extern "C" void addRows(const Suite& suite)
{
    addFormulaRows<MuParserFormula>("muParser", suite);
}

} // namespace Bench
