#include <benchmarks/suite.h>

#include <mpParser.h>

namespace Bench {

namespace {

class MuParserXFormula {
public:
    explicit MuParserXFormula(const Expression& expression) : parser(mup::pckALL_NON_COMPLEX)
    {
        parser.DefineVar("t", mup::Variable(&time));
        parser.SetExpr(expression.text);
    }
    static bool canRead(const Expression& expression) { return expression.kind == Kind::Numbers; }
    double operator()(double t)
    {
        time = t;
        return parser.Eval().GetFloat();
    }

private:
    mup::Value time = 0.0;
    mup::ParserX parser;
};

} // namespace

extern "C" void addRows(const Suite& suite)
{
    addFormulaRows<MuParserXFormula>({"muParserX"}, suite);
}

} // namespace Bench
