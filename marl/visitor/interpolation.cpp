// Values that change over time: the pair of keys around the time, and the blend between them.
#include <marl/visitor/detail/operands.h>

#include <marl/value/detail/array_hold.h>
#include <marl/value/detail/record_arithmetic.h>
#include <marl/value/exceptions.h>
#include <marl/value/interpolate_transform.h>

namespace Marl {

// The keys around a time, and how far it is on the way from the earlier to the later. Without a
// later key the earlier one's value holds.
struct CalculationVisitor::Bracket {
    InterpolateKey* earlier;
    InterpolateKey* later = nullptr;
    double factor = 0;
};

namespace {

// How much of the way from start to end lies behind.
double share(double start, double time, double end)
{
    return (time - start) / (end - start);
}

double blendNumbers(double earlier, double later, double factor)
{
    return factor * later + (1.0 - factor) * earlier;
}

Value blendLists(const Value& earlierValue, const Value& laterValue, float earlierWeight, float laterWeight)
{
    ArrayHold<Vector> earlier(earlierValue.getListVector()), later(laterValue.getListVector());
    if (earlier->count != later->count)
        return earlierValue;
    ArrayHold<Vector> blended(earlier->count);
    for (int i = 0; i < blended->count; ++i)
        blended[i] = later[i] * laterWeight + earlier[i] * earlierWeight;
    return Value(*blended);
}

} // namespace

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
        return valueStack.push(blendNumbers(*earlierLeaf, *laterLeaf, keys.factor));

    const MaybeNumber earlier = operand(keys.earlier->value, inside);
    if (!earlier.isThere) {
        const HeldValue held(*this);
        evaluate(keys.later->value, inside);
        return replaceTopByBlend(heldValues->top(), keys.factor);
    }
    const MaybeNumber later = operand(keys.later->value, inside);
    if (!later.isThere)
        return replaceTopByBlend(earlier.number, keys.factor);
    valueStack.push(blendNumbers(earlier.number, later.number, keys.factor));
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
        const double time = numberOrLeave(key->time, level, "Keys in interpolate expression must be numbers.");
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
        fail("Interpolate expression has no keys.");
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
        valueStack.top() = blend(earlier, valueStack.top(), factor);
    } catch (...) {
        valueStack.pop();
        throw;
    }
}

void CalculationVisitor::replaceTopByBlend(double earlier, double factor)
{
    replaceTopByBlend(Value(earlier), factor);
}

// The kind of the earlier value decides. What cannot be weighted holds; what can be weighted
// but not added is the author's mistake.
Value CalculationVisitor::blend(const Value& earlier, const Value& later, double factor)
{
    const Value earlierWeight(1.0 - factor), laterWeight(factor);
    switch (ValueType(earlier.getValueType())) {
    case ValueType::ListVector:
        return blendLists(earlier, later, single(earlierWeight.getDouble()), single(laterWeight.getDouble()));
    case ValueType::Transform:
        return widened(
            interpolateTransform(narrowed(earlier.getTransform()), narrowed(later.getTransform()), factor));
    default: break;
    }

    Value weightedEarlier, weightedLater;
    try {
        weightedEarlier = doOp(TOKEN_MULTIPLY, earlierWeight, earlier);
        weightedLater = doOp(TOKEN_MULTIPLY, laterWeight, later);
    } catch (const InvalidOpException&) {
        return earlier;
    }
    return doOp(TOKEN_PLUS, weightedLater, weightedEarlier);
}

} // namespace Marl
