// A scene file as the tool works with it: the tree, where everything stands, and who has which name.
#pragma once

#include <host/scene/reader.h>
#include <host/scene/running_scene.h>

#include <marl/marl.h>

#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

struct SceneProperty {
    ObjectAST* object = nullptr;
    PropertyAST* property = nullptr;

    std::string name() const; // as scenes write it
};

class Scene {
public:
    // Reads the file; what is wrong with its text is kept in `reading`, not thrown. Throws
    // FileError when the file cannot be read.
    explicit Scene(const std::string& path);

    SceneFile file;
    ProgramAST program;
    PlaceTable places;
    RunningScene running;
    ReadResult reading;
    std::vector<SceneProperty> properties; // in the order of the file

    // "Did you mean ...?" for a name that is missing, or nothing.
    std::string suggestObject(std::string_view wrong);
    std::string suggestProperty(const ObjectAST& object, std::string_view wrong);

    Span placeOf(const auto* thing) const { return places.find(thing).value_or(Span()); }

private:
    template <typename Record>
    std::string suggestFrom(const Record* first, std::string_view wrong);

    // A scene of 100,000 properties may have as many wrong references. The first of them get suggestions, more
    // than anyone reads.
    int comparisonsLeft = 10'000'000;
};

} // namespace Marl::Host
