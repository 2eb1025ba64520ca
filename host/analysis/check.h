// Everything that can be said about a scene without evaluating it.
#pragma once

#include <host/analysis/resolution.h>

#include <vector>

namespace Marl::Host {

// The mistakes that keep a scene from being evaluated whole: of its text, its names and its
// references. In the order of the file.
std::vector<Diagnostic> mistakesOf(const Scene& scene, const Resolution& resolution);

// These, data that cannot be read, and warnings: properties of one name in an object, and keys at one
// time. In the order of the file. Throws FileError.
std::vector<Diagnostic> checkScene(Scene& scene);

} // namespace Marl::Host
