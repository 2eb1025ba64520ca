#include <host/analysis/explanation.h>

#include <host/analysis/children.h>
#include <host/analysis/tracing_evaluator.h>

#include <fmt/format.h>

#include <unordered_map>

namespace Marl::Host {

namespace {

constexpr std::size_t mostPartsBelowOne = 20;
constexpr int deepest = 30;

bool isPlainNumber(ExpressionAST* node)
{
    const auto* negated = dynamic_cast<NegatedExpressionAST*>(node);
    return dynamic_cast<NumberExpressionAST*>(negated ? negated->operand : node) != nullptr;
}

class Explainer {
public:
    Explainer(const Scene& given, const Moment& when, const Limits& most) : scene(given), moment(when), limits(most)
    {}

    void run(ExpressionAST* expression)
    {
        tracer.setTimeParam(moment.time);
        tracer.setDontInterpolate(moment.holdsKeys ? 1 : 0);
        limits.apply(tracer);
        tracer.heard = [this](const ExpressionAST* node, const Value& value) {
            values.insert_or_assign(node, value);
        };
        try {
            expression->accept(&tracer);
        } catch (const Exception& thrown) {
            message = thrown.what();
        } catch (const TooManyVisits&) {
            goOnWithoutWalk(expression);
        }
        add({expression, scene.places.find(expression)}, 0, tracer.way.empty() ? nullptr : &tracer.way.front());
    }

    std::vector<ExplainedPart> parts;

private:
    using Step = TracingEvaluator::Step;
    struct Part {
        ExpressionAST* node;
        std::optional<Span> place;
    };

    // What fails is then the whole.
    void goOnWithoutWalk(ExpressionAST* expression)
    {
        hasGivenUp = true;
        try {
            values.insert_or_assign(expression, computed(expression));
            tracer.way.clear();
        } catch (const Exception& thrown) {
            message = thrown.what();
            tracer.way.resize(1);
        }
    }

    // The step is that of the part on the way to the failure, or null for one beside it.
    void add(const Part& part, int level, const Step* step)
    {
        const bool fails = step && step == &tracer.way.back();
        if (level == deepest && step && !fails) {
            addRemark(level, "deeper parts are left out up to the one that fails");
            const Step& last = tracer.way.back();
            add({last.node, scene.places.find(last.node)}, level, &last);
            return;
        }

        const auto* reference = dynamic_cast<PropertyReferenceAST*>(part.node);
        ExplainedPart shown{level, part.place, valueOf(part.node), {}, fails, reference};
        if (step) {
            shown.value.reset(); // of an earlier visit, in a circle
            shown.remark = fails ? message : "needs what fails below";
        } else if (!shown.value) {
            shown.remark = "not evaluated";
        }
        parts.push_back(shown);
        addBelow(part.node, level + 1, step && !fails ? step + 1 : nullptr);
    }

    // The next step of the way to the failure is below this node, but maybe not in its text: the way
    // goes on in the property that a reference names, or in the element of a list elsewhere.
    void addBelow(ExpressionAST* node, int level, const Step* next)
    {
        std::vector<Part> below;
        const std::size_t others = collectBelow(node, next, below);
        if (level > deepest) {
            if (!below.empty())
                addRemark(level, "deeper parts are left out");
            return;
        }
        std::size_t leftOut = 0;
        for (std::size_t i = 0; i < below.size(); ++i) {
            const bool isNext = next && below[i].node == next->node;
            if (i < mostPartsBelowOne || isNext)
                add(below[i], level, isNext ? std::exchange(next, nullptr) : nullptr);
            else
                ++leftOut;
        }
        if (next)
            add({next->node, scene.places.find(next->node)}, level, next);
        if (leftOut > 0)
            addRemark(level, fmt::format("{} more parts", leftOut));
        if (others > 0)
            addRemark(level, fmt::format("{} other {}", others, others == 1 ? "key" : "keys"));
    }

    // Returns how many keys are not in use.
    std::size_t collectBelow(ExpressionAST* node, const Step* next, std::vector<Part>& below)
    {
        const auto isMet = [&](ExpressionAST* met) { return values.contains(met) || (next && next->node == met); };
        const auto addUnlessPlain = [&](ExpressionAST* child) {
            if (!isPlainNumber(child))
                below.push_back({child, scene.places.find(child)});
        };
        const auto* interpolation = dynamic_cast<InterpolateExpressionAST*>(node);
        if (!interpolation) {
            std::vector<ExpressionAST*> children;
            appendChildren(node, children);
            for (ExpressionAST* child : children)
                addUnlessPlain(child);
            return 0;
        }
        std::size_t others = 0;
        for (const InterpolateKey* key = interpolation->firstKey; key; key = key->next) {
            if (isMet(key->time))
                addUnlessPlain(key->time);
            if (isMet(key->value))
                below.push_back({key->value, scene.places.find(key)});
            else
                ++others;
        }
        return others;
    }

    void addRemark(int level, std::string text) { parts.push_back({level, {}, {}, std::move(text)}); }

    std::optional<Value> valueOf(ExpressionAST* node) const
    {
        const auto found = values.find(node);
        if (found != values.end())
            return found->second;
        try {
            return hasGivenUp ? std::optional(computed(node)) : std::nullopt;
        } catch (const Exception&) {
            return std::nullopt;
        }
    }

    Value computed(ExpressionAST* node) const
    {
        const CompiledExpressions compiled({&node, 1});
        BatchEvaluator evaluator(compiled);
        evaluator.setDontInterpolate(moment.holdsKeys ? 1 : 0);
        limits.apply(evaluator);
        return evaluator.valueAt(moment.time, 0);
    }

    const Scene& scene;
    const Moment moment;
    const Limits limits;
    TracingEvaluator tracer;
    std::unordered_map<const ExpressionAST*, Value> values;
    std::string message;
    bool hasGivenUp = false; // before all was evaluated
};

} // namespace

std::vector<ExplainedPart> explain(const Scene& scene, const SceneProperty& property, const Moment& moment,
                                   const Limits& limits)
{
    Explainer explainer(scene, moment, limits);
    explainer.run(property.property->expression);
    return std::move(explainer.parts);
}

} // namespace Marl::Host
