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

// The bulk mode: the variable is the first of an array.
class MuParserBulk {
public:
    explicit MuParserBulk(const Expression& expression)
    {
        parser.DefineVar("t", times);
        parser.SetExpr(expression.text);
    }
    static bool canRead(const Expression& expression) { return MuParserFormula::canRead(expression); }
    void operator()(std::span<const double> given, double* results)
    {
        std::ranges::copy(given, times);
        parser.Eval(results, static_cast<int>(given.size()));
    }

private:
    double times[1024];
    mu::Parser parser;
};

} // namespace

extern "C" void addRows(const Suite& suite)
{
    addFormulaRows<MuParserFormula>({"muParser"}, suite);
    addBatchRows<OneByOne<MuParserBulk>>({"muParser"}, suite);
}

} // namespace Bench
