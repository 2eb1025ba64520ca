#include <host/scene/scene.h>

#include <host/report/did_you_mean.h>
#include <host/scene/names.h>

namespace Marl::Host {

std::string SceneProperty::name() const
{
    return quotedName(textOf(object->name), textOf(property->name));
}

Scene::Scene(const std::string& path) : file(path), reading(readScene(file, program, places))
{
    for (ObjectAST* object = program.firstObject; object; object = object->next)
        for (PropertyAST* property = object->firstProperty; property; property = property->next)
            properties.push_back({object, property});
}

// Of two equally near names the first is suggested.
template <typename Record>
std::string Scene::suggestFrom(const Record* first, std::string_view wrong)
{
    std::vector<std::string_view> names;
    for (; first && comparisonsLeft > 0; first = first->next, --comparisonsLeft)
        names.push_back(textOf(first->name));
    return first ? std::string() : didYouMean(wrong, names);
}

std::string Scene::suggestObject(std::string_view wrong)
{
    return suggestFrom(program.firstObject, wrong);
}

std::string Scene::suggestProperty(const ObjectAST& object, std::string_view wrong)
{
    return suggestFrom(object.firstProperty, wrong);
}

} // namespace Marl::Host
