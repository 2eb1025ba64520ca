#include <host/analysis/resolution.h>

#include <host/analysis/children.h>
#include <host/analysis/circles.h>
#include <host/scene/names.h>

#include <fmt/format.h>

namespace Marl::Host {

namespace {

class Resolver {
public:
    Resolver(Scene& given, Resolution& result) : scene(given), resolution(result)
    {
        pass.setProgram(&scene.program);
        pass.setParser(&scene.running);
    }

    void prepare(const SceneProperty& given)
    {
        pass.setObject(given.object);
        pass.setProperty(given.property);
        walk(given.property->expression, [&](ExpressionAST* node) { prepare(node, given.property); });
    }

    // A reference behind a key's time may be bound only after the keys were first looked at.
    void sortKeys()
    {
        for (InterpolateExpressionAST* interpolation : interpolations)
            interpolation->sortKeys();
    }

private:
    void prepare(ExpressionAST* node, PropertyAST* property)
    {
        node->heldBy = property;
        if (auto* reference = dynamic_cast<PropertyReferenceAST*>(node))
            bind(reference);
        else if (auto* interpolation = dynamic_cast<InterpolateExpressionAST*>(node))
            interpolations.push_back(interpolation);
        else if (auto* object = dynamic_cast<ObjectReferenceAST*>(node))
            introduce(object);
        else if (auto* runtime = dynamic_cast<RuntimeValueAST*>(node))
            introduce(runtime);
    }

    template <typename Node>
    void introduce(Node* node)
    {
        scene.running.add(textOf(node->objectName));
        node->accept(&pass);
    }

    void bind(PropertyReferenceAST* reference)
    {
        try {
            reference->accept(&pass);
        } catch (const BadRefException& missing) {
            resolution.unbound.insert(reference);
            noteUnlessLost(reference, missing.what());
        }
    }

    void noteUnlessLost(const PropertyReferenceAST* reference, const char* message)
    {
        const ObjectAST* object = scene.program.getObject(reference->objectName);
        const std::string wrong(textOf(object ? reference->propertyName : reference->objectName));
        const LostNames& lost = scene.reading.lost;
        if (object ? lost.mayHaveProperty(wrong) : lost.mayHaveObject(wrong))
            return;
        resolution.mistakes.push_back({Severity::Error, scene.placeOf(reference), message,
                                       object ? scene.suggestProperty(*object, wrong) : scene.suggestObject(wrong)});
    }

    Scene& scene;
    Resolution& resolution;
    DecorationVisitor pass;
    std::vector<InterpolateExpressionAST*> interpolations;
};

void findDoubledObjects(Scene& scene, std::vector<Diagnostic>& mistakes)
{
    for (const ObjectAST* object = scene.program.firstObject; object; object = object->next) {
        const ObjectAST* first = scene.program.getObject(object->name);
        if (first == object || textOf(object->name).empty()) // a mistake took the name
            continue;
        mistakes.push_back({Severity::Error, scene.placeOf(object),
                            fmt::format("there is an object of this name already, at {}",
                                        scene.file.lineColumnText(scene.placeOf(first).begin))});
    }
}

} // namespace

Resolution resolve(Scene& scene)
{
    Resolution resolution;
    Resolver resolver(scene, resolution);
    for (const SceneProperty& property : scene.properties)
        resolver.prepare(property);
    resolver.sortKeys();
    findDoubledObjects(scene, resolution.mistakes);
    findCircles(scene, resolution);
    return resolution;
}

} // namespace Marl::Host
