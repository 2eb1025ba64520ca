#include <marl/ast/program.h>

#include <marl/ast/detail/operations.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace Marl {

namespace {

struct Constant {
    double number;
    int nesting; // levels below which the number stands
};

// The steps also end a circle of references.
std::optional<Constant> constantOf(ExpressionAST* node, int& stepsLeft)
{
    if (!node || stepsLeft-- == 0)
        return std::nullopt;
    if (const auto* number = dynamic_cast<NumberExpressionAST*>(node))
        return Constant{number->number, 0};
    if (const auto* negated = dynamic_cast<NegatedExpressionAST*>(node)) {
        const auto operand = constantOf(negated->operand, stepsLeft);
        return operand ? std::optional(Constant{negative(operand->number), operand->nesting + 1}) : std::nullopt;
    }
    if (const auto* reference = dynamic_cast<PropertyReferenceAST*>(node)) {
        if (!reference->property)
            return std::nullopt;
        const auto referenced = constantOf(reference->property->expression, stepsLeft);
        return referenced ? std::optional(Constant{referenced->number, referenced->nesting + 1}) : std::nullopt;
    }
    if (const auto* binary = dynamic_cast<BinaryExpressionAST*>(node)) {
        const auto left = constantOf(binary->left, stepsLeft);
        const auto right = left ? constantOf(binary->right, stepsLeft) : std::nullopt;
        if (!right)
            return std::nullopt;
        Constant result{left->number, std::max(left->nesting, right->nesting) + 1};
        return operate(binary->op, result.number, right->number) ? std::optional(result) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace

void InterpolateExpressionAST::sortKeys()
{
    struct TimedKey {
        double time;
        InterpolateKey* key;
    };
    constexpr int mostSteps = 1000;

    forgetConstantTimes();
    std::vector<TimedKey> timed;
    int nesting = 0;
    for (InterpolateKey* key = firstKey; key; key = key->next) {
        int stepsLeft = mostSteps;
        const auto time = constantOf(key->time, stepsLeft);
        if (!time || std::isnan(time->number))
            return;
        nesting = std::max(nesting, time->nesting);
        timed.push_back({time->number, key});
    }
    if (timed.empty())
        return;

    std::ranges::stable_sort(timed, {}, &TimedKey::time);
    std::vector<double> times;
    std::vector<InterpolateKey*> keys;
    for (const TimedKey& entry : timed) {
        times.push_back(entry.time);
        keys.push_back(entry.key);
    }
    constant = {.times = KeyTimes(std::move(times)), .keys = std::move(keys), .nesting = nesting};

    firstKey = timed.front().key;
    lastKey = timed.back().key;
    for (std::size_t i = 0; i < timed.size(); ++i)
        timed[i].key->next = i + 1 < timed.size() ? timed[i + 1].key : nullptr;
}

} // namespace Marl
