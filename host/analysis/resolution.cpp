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
        for (const ObjectAST* object = scene.program.firstObject; object; object = object->next)
            bare.addObject(object->name);
        pass.setProgram(&bare);
        pass.setParser(&scene.running);
    }

    void prepare(const SceneProperty& given)
    {
        current = given;
        pass.setObject(given.object);
        pass.setProperty(given.property);
        walk(given.property->expression, [&](ExpressionAST* node) { prepare(node); });
    }

    // A reference behind a key's time may be bound only after the keys were first looked at.
    void sortKeys()
    {
        for (InterpolateExpressionAST* interpolation : interpolations)
            interpolation->sortKeys();
    }

private:
    void prepare(ExpressionAST* node)
    {
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

    // The library's pass compares an object's properties one by one, which takes minutes where one
    // object has 100,000. What the scene has is bound by its own table. Of what is missing the pass
    // says so, and says it at once in a program that has the scene's objects without properties.
    void bind(PropertyReferenceAST* reference)
    {
        const std::string_view object = textOf(reference->objectName);
        const std::string_view property = textOf(reference->propertyName);
        if (PropertyAST* found = scene.findProperty(object, property)) {
            reference->property = found;
            scene.program.addReferrer(found, current.object, current.property);
            return;
        }
        resolution.unbound.insert(reference);
        const LostNames& lost = scene.reading.lost;
        const bool hasObject = scene.findObject(object) != nullptr;
        if (hasObject ? lost.mayHaveProperty(std::string(property)) : lost.mayHaveObject(std::string(object)))
            return;
        try {
            reference->accept(&pass);
        } catch (const BadRefException& missing) {
            resolution.mistakes.push_back(
                {Severity::Error, scene.placeOf(reference), missing.what(),
                 hasObject ? scene.suggestProperty(object, property) : scene.suggestObject(object)});
        }
    }

    Scene& scene;
    Resolution& resolution;
    SceneProperty current;
    ProgramAST bare;
    DecorationVisitor pass;
    std::vector<InterpolateExpressionAST*> interpolations;
};

void findDoubledObjects(Scene& scene, std::vector<Diagnostic>& mistakes)
{
    for (const ObjectAST* object = scene.program.firstObject; object; object = object->next) {
        const ObjectAST* first = scene.findObject(textOf(object->name));
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
