// Values that change over time: the pair of keys around the time, and the blend between them.
#include <marl/visitor/detail/walking.h>

#include <marl/value/detail/blend.h>

#include <typeinfo>

namespace Marl {

// The keys around a time, and how far it is on the way from the earlier to the later. Without a
// later key the earlier one's value holds.
struct CalculationVisitor::Bracket {
    InterpolateKey* earlier;
    InterpolateKey* later = nullptr;
    double factor = 0;
};

// Takes the top value off the stack and keeps it aside while another one is evaluated.
class CalculationVisitor::HeldValue {
public:
    explicit HeldValue(CalculationVisitor& owner) : evaluator(owner)
    {
        if (!evaluator.heldValues) // few evaluations have any
            evaluator.heldValues.emplace();
        evaluator.heldValues->push(evaluator.takeValue());
    }
    ~HeldValue() { evaluator.heldValues->pop(); }
    HeldValue(const HeldValue&) = delete;
    HeldValue& operator=(const HeldValue&) = delete;

    const Value& operator*() const { return evaluator.heldValues->top(); }

private:
    CalculationVisitor& evaluator;
};

// The times may come in any order, some perhaps NaN: the first neighbors that have the time between
// them count. Every key's time is evaluated all the same. Part of the visit in every build, for its frame would
// count at every level.
[[gnu::always_inline]] inline CalculationVisitor::Bracket
CalculationVisitor::bracketVaryingTime(InterpolateExpressionAST* node)
{
    InterpolateKey *previous = nullptr, *earlier = nullptr, *later = nullptr;
    double firstTime = 0, previousTime = 0, factor = 0;
    for (InterpolateKey* key = node->firstKey; key; key = key->next) {
        takeStep(node);
        evaluate(node, key->time);
        const double time = takeNumberOrLeave(node, Complaint::keyTime);
        if (!previous)
            firstTime = time;
        else if (!later && timeParam >= previousTime && !(timeParam >= time)) {
            earlier = previous;
            later = key;
            factor = share(previousTime, timeParam, time);
        }
        previous = key;
        previousTime = time;
    }
    if (!previous)
        at(node, failWithoutKeys);
    if (previous == node->firstKey || !(timeParam > firstTime))
        return {node->firstKey};
    if (timeParam >= previousTime)
        return {node->lastKey};
    return {earlier, later, factor};
}

void CalculationVisitor::visitInterpolateExpression(InterpolateExpressionAST* node)
{
    const Level level(*this, node);
    const Bracket keys = knowsTimes(node) ? bracketKnownTime(node->constantTimes()) : bracketVaryingTime(node);
    if (!keys.earlier)
        at(node, failIncomplete);
    if (!keys.later || dontInterpolate != 0)
        return passOn(node, keys.earlier->value);
    evaluate(node, keys.earlier->value);
    const HeldValue earlier(*this);
    evaluate(node, keys.later->value);
    blendTopWith(node, *earlier, keys.factor);
}

// Times that sortKeys() found constant need no visit. That must hide neither a time that nests too deeply
// here, nor keys that were added by hand since, nor the visits that a derived evaluator overrides.
bool CalculationVisitor::knowsTimes(const InterpolateExpressionAST* node) const
{
    const auto& known = node->constantTimes();
    return !known.keys.empty() && known.keys.front() == node->firstKey && known.keys.back() == node->lastKey
        && depth + known.nesting <= depthLimit && typeid(*this) == typeid(CalculationVisitor);
}

CalculationVisitor::Bracket
CalculationVisitor::bracketKnownTime(const InterpolateExpressionAST::ConstantTimes& known) const
{
    const auto& [times, keys, nesting] = known;
    if (times.size() == 1 || !(timeParam > times.front()))
        return {keys.front()};
    if (timeParam >= times.back())
        return {keys.back()};
    const std::size_t later = times.countUpTo(timeParam);
    return {keys[later - 1], keys[later], share(times[later - 1], timeParam, times[later])};
}

// The later value lies on the stack and leaves it, also when the blend throws.
void CalculationVisitor::blendTopWith(InterpolateExpressionAST* node, const Value& earlier, double factor)
{
    const Value later = takeValue();
    valueStack.push(at(node, [&] { return blended(earlier, later, factor); }));
}

} // namespace Marl
