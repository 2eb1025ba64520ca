#include <host/analysis/evaluation.h>

#include <host/analysis/tracing_evaluator.h>
#include <host/report/kind_text.h>
#include <host/report/number_text.h>

#include <fmt/format.h>

#include <string_view>

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

// What a failing operator or blend was given.
std::string kindsThatMet(const Exception& failure)
{
    if (!failure.leftKind() || !failure.rightKind())
        return {};
    const std::string left = kindWithArticle(static_cast<int>(*failure.leftKind()));
    const std::string right = kindWithArticle(static_cast<int>(*failure.rightKind()));
    if (dynamic_cast<InterpolateExpressionAST*>(failure.node()))
        return fmt::format("The earlier key is {}, the later {}. ", left, right);
    return fmt::format("The left side is {}, the right side {}. ", left, right);
}

// A scene may mean what takes so much.
std::string wayAroundLimit(const Exception& failure)
{
    const std::string_view message = failure.what();
    if (message == "Evaluation takes too many steps.")
        return "--limit-steps allows more. ";
    return message == "Values take too much memory." ? "--limit-memory allows more. " : "";
}

} // namespace

Value evaluate(const SceneProperty& property, const Moment& moment)
{
    CalculationVisitor evaluator;
    evaluateWith(evaluator, property, moment);
    return evaluator.getResult();
}

Diagnostic diagnosticOf(const Scene& scene, const SceneProperty& property, double time, const Exception& failure)
{
    Span place = scene.places.find(failure.node()).value_or(scene.placeOf(property.property));
    if (failure.byte() >= 0)
        place = {failure.byte(), failure.byte()};
    return {Severity::Error, place, failure.what(),
            fmt::format("{}{}({} at time {})", kindsThatMet(failure), wayAroundLimit(failure), property.name(),
                        numberText(time))};
}

} // namespace Marl::Host
