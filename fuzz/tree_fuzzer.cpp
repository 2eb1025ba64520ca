// Trees out of bytes, walked, walked by a derived evaluator, compiled, and walked by a second opinion; then
// edited, and all of it again.
#include <fuzz/compiled_outcomes.h>
#include <fuzz/outcome.h>
#include <fuzz/random_tree.h>
#include <fuzz/reference_arithmetic.h>
#include <fuzz/reference_walk.h>
#include <fuzz/same_bits.h>

#include <host/analysis/tracing_evaluator.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <vector>

namespace Marl::Fuzz {

namespace {

// A tree and its evaluator. Each has a tree of its own, for evaluation reads into nodes, and values
// share what nodes hold.
template <typename Evaluator>
struct Evaluation {
    Evaluation(std::span<const std::uint8_t> bytes, Host::RunningScene& running) : tree(bytes, running) {}

    void sortKeys()
    {
        for (InterpolateExpressionAST* keys : tree.interpolations)
            keys->sortKeys();
    }

    Outcome outcome(std::size_t property, double time);

    RandomTree tree;
    std::optional<Evaluator> evaluator{std::in_place};
};

template <typename Evaluator>
Outcome Evaluation<Evaluator>::outcome(std::size_t property, double time)
{
    evaluator->setTimeParam(time);
    evaluator->setDontInterpolate(tree.holdsKeys ? 1 : 0);
    evaluator->setDepthLimit(tree.depthLimit);
    return outcomeOf(*evaluator, tree.properties[property]->expression);
}

template <>
Outcome Evaluation<ReferenceWalk>::outcome(std::size_t property, double time)
{
    evaluator->time = time;
    evaluator->holdsKeys = tree.holdsKeys;
    evaluator->depthLimit = tree.depthLimit;
    evaluator->visitLimit = 2000;
    return outcomeOf(*evaluator, tree.properties[property]->expression);
}

void expect(bool isSo, const char* what)
{
    if (isSo)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

std::vector<const InterpolateKey*> keysOf(const InterpolateExpressionAST* keys)
{
    std::vector<const InterpolateKey*> all;
    for (const InterpolateKey* key = keys->firstKey; key; key = key->next)
        all.push_back(key);
    return all;
}

// Numbers, negation, the four operators, and bound references to such, in so many steps.
bool isConstant(ExpressionAST* node, int& stepsLeft)
{
    if (!node || stepsLeft-- == 0)
        return false;
    if (const auto* negated = dynamic_cast<NegatedExpressionAST*>(node))
        return isConstant(negated->operand, stepsLeft);
    if (const auto* binary = dynamic_cast<BinaryExpressionAST*>(node))
        return isConstant(binary->left, stepsLeft) && isConstant(binary->right, stepsLeft) && binary->op >= TOKEN_PLUS
            && binary->op <= TOKEN_MULTIPLY;
    if (const auto* reference = dynamic_cast<PropertyReferenceAST*>(node))
        return reference->property && isConstant(reference->property->expression, stepsLeft);
    return dynamic_cast<NumberExpressionAST*>(node) != nullptr;
}

// NaN where it is not constant.
double constantTime(const InterpolateKey* key)
{
    int stepsLeft = 1000;
    if (!isConstant(key->time, stepsLeft))
        return std::nan("");
    ReferenceWalk walk;
    walk.evaluate(key->time);
    return walk.stack.back().getDouble();
}

// Keys with constant times stand in their order afterwards, all others as they stood.
void expectSorts(InterpolateExpressionAST* keys)
{
    std::vector<const InterpolateKey*> order = keysOf(keys);
    const bool isSortable = std::ranges::none_of(order, [](auto* key) { return std::isnan(constantTime(key)); });
    keys->sortKeys();
    if (isSortable)
        std::ranges::stable_sort(order, {}, constantTime);
    expect(keysOf(keys) == order, "the keys are in order");
    expect(order.empty() || keys->lastKey == order.back(), "the last key is the last in order");

    const auto& known = keys->constantTimes();
    if (!isSortable)
        order.clear();
    expect(std::ranges::equal(known.keys, order), "the known keys are all keys in order");
    expect(std::ranges::equal(known.times, order,
                              [](double time, auto* key) { return sameBits(time, constantTime(key)); }),
           "the known times are their times");
}

// The operators as hosts call them.
void expectSameOperators(CalculationVisitor& evaluator, const Value& left, const Value& right)
{
    const auto outcome = [](auto operation) -> Outcome {
        try {
            return {"", operation()};
        } catch (const InvalidOpException& failure) {
            return {failure.what(), Value()};
        }
    };
    for (const TOKENTYPE op : {TOKEN_PLUS, TOKEN_MINUS, TOKEN_DIVIDE, TOKEN_MULTIPLY, TOKENTYPE(17)})
        expectSame("doOp", outcome([&] { return evaluator.doOp(op, left, right); }),
                   outcome([&] { return operate(op, left, right); }));
    Value negated = left;
    evaluator.negate(negated);
    expectSame("negate", {"", negated}, {"", negative(left)});
}

std::vector<int> shareCounts(const RandomTree& tree)
{
    std::vector<int> counts;
    for (const int* count : tree.shareCounts)
        counts.push_back(*count);
    return counts;
}

// How often each data list lies on the evaluator's stack, which ends with that.
template <typename Evaluator>
std::vector<int> listsLeft(Evaluation<Evaluator>& evaluation)
{
    std::vector<int> left = shareCounts(evaluation.tree);
    evaluation.evaluator.reset();
    std::ranges::transform(left, shareCounts(evaluation.tree), left.begin(), std::minus());
    return left;
}

void evaluateTree(std::span<const std::uint8_t> bytes)
{
    Host::RunningScene running;
    running.add("lamp");
    Evaluation<ReferenceWalk> reference(bytes, running);
    Evaluation<CalculationVisitor> walked(bytes, running);
    Evaluation<Host::TracingEvaluator> derived(bytes, running);
    RandomTree compiled(bytes, running);

    if (reference.tree.isSorted) {
        for (InterpolateExpressionAST* keys : reference.tree.interpolations)
            expectSorts(keys);
        walked.sortKeys();
        derived.sortKeys();
        for (InterpolateExpressionAST* keys : compiled.interpolations)
            keys->sortKeys();
    }
    Value previous;
    for (std::size_t i = 0; i < reference.tree.properties.size(); ++i)
        for (const double time : std::span(reference.tree.times).first(2)) {
            if (!reference.tree.properties[i]->expression)
                continue;
            const Outcome expected = reference.outcome(i, time);
            expectSame("walked", walked.outcome(i, time), expected);
            expectSame("walked by a derived evaluator", derived.outcome(i, time), expected);
            for (const Value& other : {previous, Value(1.1), Value(time)}) {
                expectSameOperators(*walked.evaluator, other, expected.top);
                expectSameOperators(*walked.evaluator, expected.top, other);
            }
            previous = expected.top;
        }
    expectCompiledSame(reference.tree, compiled);
    previous = Value();
    const std::vector<int> left = listsLeft(reference);
    expect(listsLeft(walked) == left, "the walk leaves as many values");
    expect(listsLeft(derived) == left, "a derived walk leaves as many values");
    expectUpdatedSame(reference.tree, compiled);
}

} // namespace

} // namespace Marl::Fuzz

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

// Any bytes are a tree, so large ones need not grow step by step: three of four inputs are all new. Most are
// small, for what is large fails in most places.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed)
{
    std::minstd_rand random(seed);
    if (seed % 4 == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    const std::size_t made = 1 + random() % std::max<std::size_t>(maxSize >> random() % 6, 1);
    std::generate_n(data, made, [&] { return static_cast<std::uint8_t>(random() >> 16); });
    return made;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        Marl::Fuzz::evaluateTree({data, size});
    } catch (const Marl::Fuzz::ReferenceWalk::TooMuchWork&) { // it says nothing about the evaluator
    }
    return 0;
}
