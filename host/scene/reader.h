// Reads the text of a scene into its tree.
#pragma once

#include <host/report/diagnostic.h>
#include <host/scene/place.h>
#include <host/scene/scene_file.h>

#include <marl/marl.h>

#include <string>
#include <unordered_set>
#include <vector>

namespace Marl::Host {

// Names that a mistake may have hidden. What refers to one of them is perhaps no mistake.
struct LostNames {
    bool anything = false; // reading ended early
    bool anObject = false; // an object stands without its name
    std::unordered_set<std::string> names;

    bool mayHaveObject(const std::string& name) const { return anything || anObject || names.contains(name); }
    bool mayHaveProperty(const std::string& name) const { return anything || names.contains(name); }
};

struct ReadResult {
    std::vector<Diagnostic> mistakes; // in the order they were met
    LostNames lost;
};

// Reads as much as the text allows: a mistake costs the statement that it stands in, and a property
// whose value was lost has a null expression. Places of everything that was read are noted.
// Throws FileError when the file cannot be read, std::bad_alloc.
ReadResult readScene(SceneFile& file, ProgramAST& program, PlaceTable& places);

} // namespace Marl::Host
