// Values that change over time: the pair of keys around the time, and the blend between them.
#include <marl/visitor/detail/operands.h>

#include <marl/ast/detail/operations.h>
#include <marl/value/detail/blend.h>

namespace Marl {

// The keys around a time, and how far it is on the way from the earlier to the later. Without a
// later key the earlier one's value holds.
struct CalculationVisitor::Bracket {
    InterpolateKey* earlier;
    InterpolateKey* later = nullptr;
    double factor = 0;
};

void CalculationVisitor::visitInterpolateExpression(InterpolateExpressionAST* node)
{
    const int inside = enter(levelOfVisit());
    const Bracket keys =
        knowsTimes(node, inside) ? bracketKnownTime(node->constantTimes()) : bracketVaryingTime(node, inside);
    if (!keys.earlier)
        failIncomplete();
    if (!keys.later || dontInterpolate != 0)
        return passOn(keys.earlier->value, inside);

    // As nearly all keys are.
    const double *const earlierLeaf = leaf(keys.earlier->value), *const laterLeaf = leaf(keys.later->value);
    if (earlierLeaf && laterLeaf)
        return valueStack.push(blend(*earlierLeaf, *laterLeaf, keys.factor));

    const MaybeNumber earlier = operand(keys.earlier->value, inside);
    if (!earlier.isThere) {
        const HeldValue held(*this);
        evaluate(keys.later->value, inside);
        return replaceTopByBlend(heldValues->top(), keys.factor);
    }
    const MaybeNumber later = operand(keys.later->value, inside);
    if (!later.isThere)
        return replaceTopByBlend(earlier.number, keys.factor);
    valueStack.push(blend(earlier.number, later.number, keys.factor));
}

// Times that sortKeys() found constant need no visit. That must hide neither a time that
// nests too deeply here nor keys that were added by hand since.
bool CalculationVisitor::knowsTimes(const InterpolateExpressionAST* node, int level) const
{
    const auto& known = node->constantTimes();
    return !known.keys.empty() && known.keys.front() == node->firstKey && known.keys.back() == node->lastKey
        && level + known.nesting <= depthLimit;
}

inline CalculationVisitor::Bracket
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

// The times may come in any order, some perhaps NaN: the first neighbors that have the time between
// them count. Every key's time is evaluated all the same. Part of the visit in every build, for its
// frame would count at every level.
[[gnu::always_inline]] inline CalculationVisitor::Bracket
CalculationVisitor::bracketVaryingTime(InterpolateExpressionAST* node, int level)
{
    InterpolateKey *previous = nullptr, *earlier = nullptr, *later = nullptr;
    double firstTime = 0, previousTime = 0, factor = 0;
    for (InterpolateKey* key = node->firstKey; key; key = key->next) {
        const double time = numberOrLeave(key->time, level, Complaint::keyTime);
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
        failWithoutKeys();
    if (previous == node->firstKey || !(timeParam > firstTime))
        return {node->firstKey};
    if (timeParam >= previousTime)
        return {node->lastKey};
    return {earlier, later, factor};
}

// The later value lies on the stack and leaves it, also when the blend throws.
void CalculationVisitor::replaceTopByBlend(const Value& earlier, double factor)
{
    try {
        valueStack.top() = blended(earlier, valueStack.top(), factor);
    } catch (...) {
        valueStack.pop();
        throw;
    }
}

void CalculationVisitor::replaceTopByBlend(double earlier, double factor)
{
    replaceTopByBlend(Value(earlier), factor);
}

} // namespace Marl
