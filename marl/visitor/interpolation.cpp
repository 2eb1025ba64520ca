// Values that change over time: the pair of keys around the time, and the blend between them.
#include <marl/visitor/detail/operands.h>

#include <marl/value/detail/array_hold.h>
#include <marl/value/detail/record_arithmetic.h>
#include <marl/value/exceptions.h>
#include <marl/value/interpolate_transform.h>

#include <algorithm>
#include <span>
#include <vector>

namespace Marl {

// The keys around a time. Without a later key the earlier one's value holds.
struct CalculationVisitor::Bracket {
    InterpolateKey* earlier;
    InterpolateKey* later;
    double factor; // of the way from the earlier to the later
};

namespace {

// The index of the later key around t, which lies behind the first time and before the last.
std::size_t searchAscending(std::span<const double> times, double t)
{
    return static_cast<std::size_t>(std::ranges::upper_bound(times, t) - times.begin());
}

// The same of times in any order, some perhaps NaN: the first neighbors that have t between them.
std::size_t searchUnordered(std::span<const double> times, double t)
{
    std::size_t i = 1;
    while (!(t >= times[i - 1]) || t >= times[i])
        ++i;
    return i;
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

InterpolateKey* keyAt(InterpolateKey* first, std::size_t index)
{
    for (; index > 0; --index)
        first = first->next;
    return first;
}

} // namespace

void CalculationVisitor::visitInterpolateExpression(InterpolateExpressionAST* node)
{
    const int inside = enter(levelOfVisit());
    const Bracket keys = bracketTime(node, inside);
    if (!keys.earlier)
        failIncomplete();
    if (!keys.later)
        return passOn(keys.earlier->value, inside);

    if (const auto earlier = operand(keys.earlier->value, inside)) {
        const auto later = operand(keys.later->value, inside);
        if (later)
            valueStack.push(keys.factor * *later + (1.0 - keys.factor) * *earlier);
        else
            replaceTopByBlend(*earlier, keys.factor);
    } else {
        const HeldValue held(*this);
        evaluate(keys.later->value, inside);
        replaceTopByBlend(heldValues.top(), keys.factor);
    }
}

// Times that sortKeys() found constant need no visit. That must hide neither a time that
// nests too deeply here nor keys that were added by hand since.
CalculationVisitor::Bracket CalculationVisitor::bracketTime(InterpolateExpressionAST* node, int level)
{
    const auto& known = node->constantTimes();
    const bool areKnown = !known.keys.empty() && known.keys.front() == node->firstKey
        && known.keys.back() == node->lastKey && level + known.nesting <= depthLimit;
    if (!areKnown)
        return bracketVaryingTime(node, level);
    return bracketAmong(known.times, node, searchAscending, [&](std::size_t i) { return known.keys[i]; });
}

CalculationVisitor::Bracket CalculationVisitor::bracketVaryingTime(InterpolateExpressionAST* node, int level)
{
    std::vector<double> times;
    times.reserve(static_cast<std::size_t>(std::clamp(node->keyCount, 0, 1 << 16)));
    for (InterpolateKey* key = node->firstKey; key; key = key->next)
        times.push_back(numberOrLeave(key->time, level, "Keys in interpolate expression must be numbers."));
    if (times.empty())
        fail("Interpolate expression has no keys.");
    return bracketAmong(times, node, searchUnordered, [&](std::size_t i) { return keyAt(node->firstKey, i); });
}

template <typename Search, typename KeyAt>
CalculationVisitor::Bracket CalculationVisitor::bracketAmong(const std::vector<double>& times,
                                                             InterpolateExpressionAST* node, Search search, KeyAt key)
{
    if (times.size() == 1 || !(timeParam > times.front()))
        return {node->firstKey, nullptr, 0};
    if (timeParam >= times.back())
        return {node->lastKey, nullptr, 0};
    const std::size_t later = search(times, timeParam);
    if (dontInterpolate != 0)
        return {key(later - 1), nullptr, 0};
    return {key(later - 1), key(later), (timeParam - times[later - 1]) / (times[later] - times[later - 1])};
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
