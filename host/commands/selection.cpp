#include <host/commands/selection.h>

#include <host/commands/command.h>
#include <host/scene/names.h>

#include <fmt/format.h>

#include <optional>
#include <utility>

namespace Marl::Host {

namespace {

// Takes a name, in back-quotes or up to the next point, off the front of the text.
std::optional<std::string_view> takeName(std::string_view& text)
{
    const bool isQuoted = text.starts_with('`');
    const std::size_t begin = isQuoted ? 1 : 0;
    std::size_t end = text.find(isQuoted ? '`' : '.', begin);
    if (end == std::string_view::npos && !isQuoted)
        end = text.size();
    if (end == std::string_view::npos || end == begin)
        return std::nullopt;
    const std::string_view name = text.substr(begin, end - begin);
    text.remove_prefix(end + begin);
    return name;
}

struct PropertyName {
    std::string object, property;
    bool isAll; // `object.*`
};

PropertyName parsed(std::string_view text)
{
    std::string_view rest = text;
    const auto object = takeName(rest);
    if (object && rest == ".*")
        return {std::string(*object), {}, true};
    if (object && rest.starts_with('.')) {
        rest.remove_prefix(1);
        const auto property = takeName(rest);
        if (property && rest.empty())
            return {std::string(*object), std::string(*property), false};
    }
    throw UsageError(
        fmt::format("`{0}` names no property; write object.property, or object.* for all of them", text));
}

// "`lamp`, Did you mean ...?"
[[noreturn]] void failMissing(const Scene& scene, const std::string& missing, const std::string& suggestion)
{
    throw UsageError(
        fmt::format("{} has no {}.{}{}", scene.file.path(), missing, suggestion.empty() ? "" : " ", suggestion));
}

} // namespace

std::vector<SceneProperty> selectProperties(Scene& scene, std::span<const std::string> names)
{
    const auto isFirst = [&](const SceneProperty& p) {
        return scene.program.getObject(p.object->name) == p.object
            && p.object->getProperty(p.property->name) == p.property;
    };
    std::vector<SceneProperty> selected;
    if (names.empty())
        std::ranges::copy_if(scene.properties, std::back_inserter(selected), isFirst);
    for (const std::string& text : names) {
        const PropertyName name = parsed(text);
        ObjectAST* object = scene.program.getObject(name.object.c_str());
        if (!object)
            failMissing(scene, fmt::format("object {}", quotedName(name.object)), scene.suggestObject(name.object));
        if (name.isAll)
            std::ranges::copy_if(scene.properties, std::back_inserter(selected),
                                 [&](const SceneProperty& p) { return p.object == object && isFirst(p); });
        else if (PropertyAST* property = object->getProperty(name.property.c_str()))
            selected.push_back({object, property});
        else
            failMissing(scene, fmt::format("property {}", quotedName(name.object, name.property)),
                        scene.suggestProperty(*object, name.property));
    }
    return selected;
}

} // namespace Marl::Host
