#include <host/commands/failure_report.h>

#include <host/analysis/evaluation.h>
#include <host/commands/command.h>
#include <host/scene/description.h>

#include <fmt/format.h>

namespace Marl::Host {

namespace {

void reportFirst(Scene& scene, const Resolution& resolution, const SceneProperty& property, double time,
                 const Exception& failure)
{
    const auto* reference = dynamic_cast<PropertyReferenceAST*>(failure.node());
    const bool isKnown =
        reference && (resolution.unbound.contains(reference) || resolution.inCircle.contains(failure.property()));
    if (isKnown)
        printError(fmt::format("{}: {} is left out: it needs what the message above is about\n", scene.file.path(),
                               property.name()));
    else
        printError(describe(diagnosticOf(scene, property, time, failure), scene.file));
}

} // namespace

void Failures::add(const Failures& later)
{
    if (count == 0)
        *this = later;
    else
        count += later.count;
}

void reportFailures(Scene& scene, const Resolution& resolution, const SceneProperty& property,
                    const Failures& failures, std::size_t times)
{
    if (failures.count == 0)
        return;
    try {
        std::rethrow_exception(failures.first);
    } catch (const Exception& thrown) {
        reportFirst(scene, resolution, property, failures.firstTime, thrown);
    }
    if (failures.count > 1)
        printError(fmt::format("{}: {} fails at {} of {} times; the first is shown above\n", scene.file.path(),
                               property.name(), failures.count, times));
}

} // namespace Marl::Host
