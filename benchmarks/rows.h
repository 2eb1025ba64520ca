// The contents of the suite, and the rows of the contenders that are part of the project: Marl
// compiled and by its walk, and C++ as the limit of what can be reached.
#pragma once

#include <benchmarks/suite.h>

#include <marl/marl.h>

namespace Bench {

void addExpressions(Suite& suite);
std::vector<Curve> curves();
std::vector<Point> scatteredPoints();

void addFormulas(const Suite& suite);
void addCurves(const Suite& suite);
void addNoise(const Suite& suite);
void addListsAndText();
void addThreads(const Suite& suite);

inline const Contender marl{"Marl", true}, walk{"walk", true}, native{"C++"};
inline const Contender scoped{"in a scope", true, [] { return std::make_shared<Marl::ArithmeticScope>(); }};

// One walk as a host does it.
inline Marl::Value walked(Marl::ExpressionAST* root, double time)
{
    Marl::CalculationVisitor evaluator;
    evaluator.setTimeParam(time);
    root->accept(&evaluator);
    return evaluator.getResult();
}

// A tree as the suite's formulas want to be called.
class WalkFormula {
public:
    explicit WalkFormula(Marl::ExpressionAST* tree) : root(tree) {}
    explicit WalkFormula(const Expression& expression) : root(expression.tree) {}
    static bool canRead(const Expression& expression) { return !expression.isEndlessWalk; }
    double operator()(double time) const { return walked(root, time).getDouble(); }

private:
    Marl::ExpressionAST* root;
};

// Trees compiled together, for batches and for one time.
class MarlBatch {
public:
    explicit MarlBatch(const std::vector<Marl::ExpressionAST*>& trees) : compiled(trees), evaluator(compiled) {}
    explicit MarlBatch(std::span<const Expression> expressions) : MarlBatch(treesOf(expressions)) {}
    static bool canRead(const Expression&) { return true; }

    void evaluate(std::span<const double> times) { evaluator.evaluate(times); }
    std::span<const double> column(std::size_t i) const { return evaluator.column(i).numbers(); }
    double operator()(const Moment& m) { return evaluator.valueAt(m.time, m.index).getDouble(); }

    static std::vector<Marl::ExpressionAST*> treesOf(std::span<const Expression> expressions)
    {
        std::vector<Marl::ExpressionAST*> trees;
        for (const Expression& expression : expressions)
            trees.push_back(expression.tree);
        return trees;
    }

private:
    Marl::CompiledExpressions compiled;
    Marl::BatchEvaluator evaluator;
};

// One tree compiled, at one time.
class MarlFormula {
public:
    explicit MarlFormula(Marl::ExpressionAST* tree) : batch({tree}) {}
    explicit MarlFormula(const Expression& expression) : MarlFormula(expression.tree) {}
    static bool canRead(const Expression&) { return true; }
    double operator()(double time) { return batch({0, time}); }

private:
    MarlBatch batch;
};

} // namespace Bench
