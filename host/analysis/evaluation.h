// Evaluating one property, and what is said where that fails.
#pragma once

#include <host/analysis/resolution.h>

#include <marl/marl.h>

namespace Marl::Host {

struct Moment {
    double time = 0;
    bool holdsKeys = false; // keys hold instead of being blended
};

// Throws Exception, as the library does.
Value evaluate(const SceneProperty& property, const Moment& moment);

// The library's message, where it was raised and among what; where that is not known, the property stands for it.
Diagnostic diagnosticOf(const Scene& scene, const SceneProperty& property, double time, const Exception& failure);

} // namespace Marl::Host
