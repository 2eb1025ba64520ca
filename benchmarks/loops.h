// The loops of the scene's expressions, one for each, written by scene_source.
#pragma once

#include <benchmarks/grown.h>

namespace Bench {

using Loop = void (*)(const double* __restrict times, double* __restrict results, std::size_t count);

extern const Loop sceneLoops[sceneSize];

} // namespace Bench
