// Reads the text of a scene into its tree.
#pragma once

#include <host/scene/syntax_mistakes.h>
#include <host/scene/scene_file.h>

#include <marl/marl.h>

#include <vector>

namespace Marl::Host {

struct ReadResult {
    std::vector<Diagnostic> mistakes; // in the order they were met

    // Whether a mistake hid a name. References that seem to name nothing may be right then.
    bool hasLostNames = false;
};

// Reads as much as the text allows: a mistake costs the statement that it stands in, and a property
// whose value was lost has a null expression. Places of everything that was read are noted.
// Throws FileError when the file cannot be read, std::bad_alloc.
ReadResult readScene(SceneFile& file, ProgramAST& program, PlaceTable& places);

} // namespace Marl::Host
