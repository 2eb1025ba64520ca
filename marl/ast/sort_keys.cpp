#include <marl/ast/program.h>

#include <marl/ast/detail/operations.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <optional>
#include <utility>

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

std::vector<InterpolateKey*> chainFrom(InterpolateKey* first)
{
    std::vector<InterpolateKey*> chain;
    for (; first; first = first->next)
        chain.push_back(first);
    return chain;
}

// The keys as they were written, which is the order of the chain until it was sorted.
std::vector<InterpolateKey*> writtenOrder(std::vector<InterpolateKey*> chain)
{
    const auto isNew = [](const InterpolateKey* key) { return key->written == 0; };
    auto tail = chain.end();
    while (tail != chain.begin() && isNew(tail[-1]))
        --tail;
    std::vector<InterpolateKey*> known;
    std::ranges::copy_if(chain.begin(), tail, std::back_inserter(known), std::not_fn(isNew));
    if (!std::ranges::is_sorted(known, {}, &InterpolateKey::sorted)
        || std::ranges::is_sorted(known, {}, &InterpolateKey::written))
        return chain;

    struct Placed {
        int place; // of the key itself, or of the known one before it
        InterpolateKey* key;
    };
    std::vector<Placed> placed;
    for (auto key = chain.begin(); key != tail; ++key)
        placed.push_back({!isNew(*key) ? (*key)->written : placed.empty() ? 0 : placed.back().place, *key});
    std::ranges::stable_sort(placed, {}, &Placed::place);
    std::ranges::transform(placed, chain.begin(), &Placed::key);
    return chain;
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
    const std::vector<InterpolateKey*> chain = chainFrom(firstKey);
    const std::vector<InterpolateKey*> written = writtenOrder(chain);
    std::vector<TimedKey> timed;
    int nesting = 0;
    for (InterpolateKey* key : written) {
        int stepsLeft = mostSteps;
        const auto time = constantOf(key->time, stepsLeft);
        if (!time || std::isnan(time->number))
            break;
        nesting = std::max(nesting, time->nesting);
        timed.push_back({time->number, key});
    }

    ConstantTimes found;
    std::vector<InterpolateKey*> sorted = written;
    const bool areConstant = !timed.empty() && timed.size() == written.size();
    if (areConstant) {
        std::ranges::stable_sort(timed, {}, &TimedKey::time);
        std::vector<double> times;
        std::ranges::transform(timed, std::back_inserter(times), &TimedKey::time);
        std::ranges::transform(timed, sorted.begin(), &TimedKey::key);
        found = {.times = KeyTimes(std::move(times)), .keys = sorted, .nesting = nesting};
    }

    // Nothing fails from here on.
    for (std::size_t i = 0; i < written.size(); ++i) {
        written[i]->written = static_cast<int>(i) + 1;
        sorted[i]->sorted = static_cast<int>(i) + 1;
    }
    if (!areConstant && sorted == chain)
        return; // also where a host has not said where the chain ends
    constant = std::move(found);
    firstKey = sorted.front();
    lastKey = sorted.back();
    for (std::size_t i = 0; i < sorted.size(); ++i)
        sorted[i]->next = i + 1 < sorted.size() ? sorted[i + 1] : nullptr;
}

} // namespace Marl
