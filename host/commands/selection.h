// Properties as a command line names them.
#pragma once

#include <host/scene/scene.h>

#include <span>
#include <string>
#include <vector>

namespace Marl::Host {

// The properties in the order named: `rig.pos`, `rig.*` for all of an object, names in back-quotes
// where scenes need them. Without names all properties in the order of the file. Of several of one
// name only the first counts, as for references. Throws UsageError for a name that nothing has.
std::vector<SceneProperty> selectProperties(Scene& scene, std::span<const std::string> names);

} // namespace Marl::Host
