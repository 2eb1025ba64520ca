#include <host/scene/scene.h>

#include <host/report/did_you_mean.h>
#include <host/scene/names.h>

namespace Marl::Host {

std::string SceneProperty::name() const
{
    return quotedName(textOf(object->name), textOf(property->name));
}

Scene::Scene(const std::string& path)
    : file(path), reading(readScene(file, program, places)), suggestionsLeft(10'000'000)
{
    for (ObjectAST* object = program.firstObject; object; object = object->next) {
        Named& named = objects.try_emplace(textOf(object->name), Named{object, {}}).first->second;
        for (PropertyAST* property = object->firstProperty; property; property = property->next) {
            properties.push_back({object, property});
            if (named.object == object)
                named.properties.try_emplace(textOf(property->name), property);
        }
    }
}

ObjectAST* Scene::findObject(std::string_view object) const
{
    const auto found = objects.find(object);
    return found == objects.end() ? nullptr : found->second.object;
}

PropertyAST* Scene::findProperty(std::string_view object, std::string_view property) const
{
    const auto owner = objects.find(object);
    if (owner == objects.end())
        return nullptr;
    const auto found = owner->second.properties.find(property);
    return found == owner->second.properties.end() ? nullptr : found->second;
}

// In the order of the file, so that of two equally near names the first is suggested.
std::string Scene::suggestObject(std::string_view wrong)
{
    std::vector<std::string_view> names;
    if (maySuggestFrom(objects.size()))
        for (const ObjectAST* object = program.firstObject; object; object = object->next)
            names.push_back(textOf(object->name));
    return didYouMean(wrong, names);
}

std::string Scene::suggestProperty(std::string_view object, std::string_view wrong)
{
    std::vector<std::string_view> names;
    const auto owner = objects.find(object);
    if (owner != objects.end() && maySuggestFrom(owner->second.properties.size()))
        for (const PropertyAST* property = owner->second.object->firstProperty; property; property = property->next)
            names.push_back(textOf(property->name));
    return didYouMean(wrong, names);
}

// A scene of 100,000 properties may have as many wrong references. The first of them get
// suggestions, more than anyone reads.
bool Scene::maySuggestFrom(std::size_t names)
{
    if (names > suggestionsLeft)
        return false;
    suggestionsLeft -= names;
    return true;
}

} // namespace Marl::Host
