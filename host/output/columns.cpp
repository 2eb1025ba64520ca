#include <host/output/columns.h>

#include <host/output/components.h>

#include <algorithm>

namespace Marl::Host {

Columns::Columns(const Track& given) : track(given)
{
    const auto addColumn = [&](std::string_view suffix) {
        if (columnOf(suffix) == suffixes.size())
            suffixes.push_back(suffix);
    };
    int last = Track::missing;
    for (std::size_t i = 0; i < track.size(); ++i) {
        const int kind = track.kindAt(i);
        if (kind == Track::missing || kind == last)
            continue;
        last = kind;
        const auto components = componentsOf(kind);
        for (const Component& component : components)
            addColumn(component.suffix);
        if (components.empty())
            addColumn("");
    }
    if (suffixes.empty())
        addColumn("");
}

std::size_t Columns::columnOf(std::string_view suffix) const
{
    return static_cast<std::size_t>(std::ranges::find(suffixes, suffix) - suffixes.begin());
}

std::vector<std::string> Columns::header() const
{
    std::vector<std::string> names;
    for (const std::string_view suffix : suffixes)
        names.push_back(track.name + std::string(suffix));
    return names;
}

std::vector<std::string> Columns::row(std::size_t index) const
{
    std::vector<std::string> cells(suffixes.size());
    const int kind = track.kindAt(index);
    if (kind == Track::missing)
        return cells;
    const auto components = componentsOf(kind);
    if (components.empty()) {
        cells[columnOf("")] = track.textAt(index);
        return cells;
    }
    const std::vector<std::string> texts = componentTexts(kind, track.numbersAt(index));
    for (std::size_t i = 0; i < texts.size(); ++i)
        cells[columnOf(components[i].suffix)] = texts[i];
    return cells;
}

} // namespace Marl::Host
