#include <host/analysis/circles.h>

#include <host/analysis/children.h>

#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>

namespace Marl::Host {

namespace {

constexpr std::size_t mostCircles = 100; // a knot has more circles than anyone can read

// A walk along the references, depth first, that keeps the way it came.
class CircleSearch {
public:
    CircleSearch(Scene& given, Resolution& result) : scene(given), resolution(result)
    {
        for (const SceneProperty& property : scene.properties)
            owners.emplace(property.property, property);
    }

    void searchFrom(PropertyAST* start)
    {
        enter(start);
        while (!way.empty()) {
            Step& here = way.back();
            if (here.next == here.targets.size()) {
                states[here.property] = State::Done;
                way.pop_back();
                continue;
            }
            PropertyAST* target = here.targets[here.next++];
            const auto known = states.find(target);
            if (known == states.end())
                enter(target);
            else if (known->second == State::OnTheWay)
                noteCircle(target);
        }
    }

private:
    enum class State { OnTheWay, Done };
    struct Step {
        PropertyAST* property;
        std::vector<PropertyAST*> targets;
        std::size_t next = 0;
    };

    void enter(PropertyAST* property)
    {
        if (states.try_emplace(property, State::OnTheWay).second)
            way.push_back({property, targetsOf(property)});
    }

    static std::vector<PropertyAST*> targetsOf(const PropertyAST* property)
    {
        std::vector<PropertyAST*> targets;
        std::unordered_set<const PropertyAST*> known;
        std::unordered_set<const ExpressionAST*> indexed;
        walk(property->expression, [&](ExpressionAST* node) {
            if (const auto* array = dynamic_cast<ArrayExpressionAST*>(node))
                indexed.insert(array->target);
            else if (const auto* reference = dynamic_cast<PropertyReferenceAST*>(node))
                if (reference->property && !indexed.contains(reference) && known.insert(reference->property).second)
                    targets.push_back(reference->property);
        });
        return targets;
    }

    void noteCircle(const PropertyAST* closing)
    {
        std::vector<const PropertyAST*> circle = {closing};
        for (std::size_t i = way.size() - 1; way[i].property != closing; --i)
            circle.push_back(way[i].property);
        std::reverse(circle.begin() + 1, circle.end());
        resolution.inCircle.insert(circle.begin(), circle.end());
        if (++circles > mostCircles)
            return;

        const auto begin = [&](const PropertyAST* property) { return scene.placeOf(property).begin; };
        std::rotate(circle.begin(), std::ranges::min_element(circle, {}, begin), circle.end());
        std::string text = "Property references form a cycle: ";
        for (const PropertyAST* property : circle)
            text += fmt::format("{} ({}) -> ", nameOf(property), scene.file.lineColumnText(begin(property)));
        resolution.mistakes.push_back(
            {Severity::Error, scene.placeOf(circle.front()), text + nameOf(circle.front())});
    }

    std::string nameOf(const PropertyAST* property) const { return owners.at(property).name(); }

    Scene& scene;
    Resolution& resolution;
    std::unordered_map<const PropertyAST*, SceneProperty> owners;
    std::unordered_map<const PropertyAST*, State> states;
    std::vector<Step> way;
    std::size_t circles = 0;
};

} // namespace

void findCircles(Scene& scene, Resolution& resolution)
{
    CircleSearch search(scene, resolution);
    for (const SceneProperty& property : scene.properties)
        search.searchFrom(property.property);
}

} // namespace Marl::Host
