// Evaluating one property, and the place where that fails.
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

struct Failure {
    Diagnostic diagnostic; // the library's message, and where and among what it was raised
    ExpressionAST* innermost = nullptr;
    const PropertyAST* in = nullptr; // the property whose expression holds it
};

// Walks once more to find the innermost sub-expression that fails; where that would take too long, the
// property stands for it.
Failure findFailure(Scene& scene, const SceneProperty& property, const Moment& moment, const Exception& thrown);

} // namespace Marl::Host
