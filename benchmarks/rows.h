// The contents of the suite, and the rows of the contenders that are part of the project: Marl
// itself, and C++ as the limit of what can be reached.
#pragma once

#include <benchmarks/suite.h>

#include <marl/marl.h>

namespace Bench {

std::vector<Expression> expressions();
void growScene(Suite& suite);
std::vector<Curve> curves();
std::vector<Point> scatteredPoints();

void addFormulas(const Suite& suite);
void addCurves(const Suite& suite);
void addNoise(const Suite& suite);
void addListsAndText();
void addThreads(const Suite& suite);

// One evaluation as a host does it.
inline Marl::Value evaluated(Marl::ExpressionAST* root, double time)
{
    Marl::CalculationVisitor evaluator;
    evaluator.setTimeParam(time);
    root->accept(&evaluator);
    return evaluator.getResult();
}

// A tree as the suite's formulas want to be called.
class MarlFormula {
public:
    explicit MarlFormula(Marl::ExpressionAST* tree) : root(tree) {}
    explicit MarlFormula(const Expression& expression) : root(expression.tree) {}
    static bool canRead(const Expression&) { return true; }
    double operator()(double time) const { return evaluated(root, time).getDouble(); }

private:
    Marl::ExpressionAST* root;
};

} // namespace Bench
