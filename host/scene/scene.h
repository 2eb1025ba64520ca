// A scene file as the tool works with it: the tree, where everything stands, and who has which name.
#pragma once

#include <host/scene/reader.h>
#include <host/scene/running_scene.h>

#include <marl/marl.h>

#include <string>
#include <string_view>
#include <unordered_map>
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

    // The first of that name, or null. In constant time, however many there are.
    ObjectAST* findObject(std::string_view object) const;
    PropertyAST* findProperty(std::string_view object, std::string_view property) const;

    // "Did you mean ...?" for a name that is missing, or nothing.
    std::string suggestObject(std::string_view wrong);
    std::string suggestProperty(std::string_view object, std::string_view wrong);

    Span placeOf(const void* thing) const { return places.find(thing).value_or(Span()); }

private:
    struct Named {
        ObjectAST* object = nullptr;
        std::unordered_map<std::string_view, PropertyAST*> properties;
    };
    bool maySuggestFrom(std::size_t names);

    std::unordered_map<std::string_view, Named> objects;
    std::size_t suggestionsLeft; // names that may still be compared
};

} // namespace Marl::Host
