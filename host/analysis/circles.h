// Properties that need themselves.
#pragma once

#include <host/analysis/resolution.h>

namespace Marl::Host {

// Notes every circle once, whole, with the places of its properties, and who lies in one. A
// reference that only one element is taken from closes no circle: the element may need nothing.
void findCircles(Scene& scene, Resolution& resolution);

} // namespace Marl::Host
