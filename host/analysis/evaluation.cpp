#include <host/analysis/evaluation.h>

#include <host/analysis/tracing_evaluator.h>
#include <host/report/kind_text.h>
#include <host/report/number_text.h>

#include <fmt/format.h>

namespace Marl::Host {

void TracingEvaluator::enter(ExpressionAST* node)
{
    if (visits++ == mostVisits)
        throw TooManyVisits();
    way.push_back({node, {}});
}

void TracingEvaluator::leave()
{
    const Value result = getResult();
    if (heard)
        heard(way.back().node, result);
    way.pop_back();
    if (!way.empty())
        way.back().kinds.push_back(result.getValueType());
}

namespace {

void evaluateWith(CalculationVisitor& evaluator, const SceneProperty& property, const Moment& moment)
{
    evaluator.setTimeParam(moment.time);
    evaluator.setDontInterpolate(moment.holdsKeys ? 1 : 0);
    property.property->expression->accept(&evaluator);
}

// What a failing operator or blend was given: its last two values.
std::string kindsThatMet(const TracingEvaluator::Step& step)
{
    if (step.kinds.size() < 2)
        return {};
    const std::string earlier = kindWithArticle(step.kinds[step.kinds.size() - 2]);
    const std::string later = kindWithArticle(step.kinds.back());
    if (dynamic_cast<BinaryExpressionAST*>(step.node))
        return fmt::format("The left side is {}, the right side {}. ", earlier, later);
    if (dynamic_cast<InterpolateExpressionAST*>(step.node))
        return fmt::format("The earlier key is {}, the later {}. ", earlier, later);
    return {};
}

} // namespace

Value evaluate(const SceneProperty& property, const Moment& moment)
{
    CalculationVisitor evaluator;
    evaluateWith(evaluator, property, moment);
    return evaluator.getResult();
}

Failure findFailure(Scene& scene, const SceneProperty& property, const Moment& moment, const Exception& thrown)
{
    TracingEvaluator tracer;
    std::string remark;
    try {
        evaluateWith(tracer, property, moment);
    } catch (const Exception&) { // the failure that is looked for
    } catch (const TooManyVisits&) {
        tracer.way.clear();
        remark = "Where in it is not known, because it visits too many nodes. ";
    }

    Failure failure{{Severity::Error, scene.placeOf(property.property), thrown.what()}, nullptr, property.property};
    if (!tracer.way.empty()) {
        failure.innermost = tracer.way.back().node;
        remark = kindsThatMet(tracer.way.back());
    }
    for (const auto& step : tracer.way) {
        if (const auto place = scene.places.find(step.node))
            failure.diagnostic.place = *place;
        const auto* reference = dynamic_cast<PropertyReferenceAST*>(step.node);
        if (reference && &step != &tracer.way.back())
            failure.in = reference->property;
    }
    if (thrown.byte() >= 0)
        failure.diagnostic.place = {thrown.byte(), thrown.byte()};
    failure.diagnostic.hint = fmt::format("{}({} at time {})", remark, property.name(), numberText(moment.time));
    return failure;
}

} // namespace Marl::Host
