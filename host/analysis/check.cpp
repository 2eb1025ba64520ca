#include <host/analysis/check.h>

#include <host/analysis/children.h>
#include <host/analysis/data_check.h>
#include <host/report/number_text.h>
#include <host/scene/names.h>

#include <fmt/format.h>

namespace Marl::Host {

namespace {

std::string placeText(Scene& scene, const void* thing)
{
    return scene.file.lineColumnText(scene.placeOf(thing).begin);
}

void warnOfDoubledName(Scene& scene, const SceneProperty& property, std::vector<Diagnostic>& warnings)
{
    const PropertyAST* first = property.object->getProperty(property.property->name);
    const bool isHidden =
        first != property.property && scene.program.getObject(property.object->name) == property.object;
    if (isHidden)
        warnings.push_back({Severity::Warning, scene.placeOf(property.property),
                            fmt::format("there is a property of this name already, at {}", placeText(scene, first)),
                            "References find the first."});
}

void warnOfDoubledKeys(Scene& scene, const SceneProperty& property, std::vector<Diagnostic>& warnings)
{
    walk(property.property->expression, [&](ExpressionAST* node) {
        const auto* interpolation = dynamic_cast<InterpolateExpressionAST*>(node);
        if (!interpolation)
            return;
        const auto& [times, keys, nesting] = interpolation->constantTimes();
        for (std::size_t i = 1; i < times.size(); ++i)
            if (times[i] == times[i - 1])
                warnings.push_back({Severity::Warning, scene.placeOf(keys[i]),
                                    fmt::format("there is a key at time {} already, at {}", numberText(times[i]),
                                                placeText(scene, keys[i - 1]))});
    });
}

} // namespace

std::vector<Diagnostic> mistakesOf(const Scene& scene, const Resolution& resolution)
{
    std::vector<Diagnostic> mistakes = scene.reading.mistakes;
    mistakes.insert(mistakes.end(), resolution.mistakes.begin(), resolution.mistakes.end());
    sortByPlace(mistakes);
    return mistakes;
}

std::vector<Diagnostic> checkScene(Scene& scene)
{
    std::vector<Diagnostic> all = mistakesOf(scene, resolve(scene));
    checkData(scene, all);
    for (const SceneProperty& property : scene.properties) {
        warnOfDoubledName(scene, property, all);
        warnOfDoubledKeys(scene, property, all);
    }
    sortByPlace(all);
    return all;
}

} // namespace Marl::Host
