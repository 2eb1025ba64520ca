// Preparing a scene for evaluation, and the mistakes that show only when all names are known.
#pragma once

#include <host/scene/scene.h>

#include <unordered_set>
#include <vector>

namespace Marl::Host {

struct Resolution {
    // Unknown objects and properties, circles of references, objects that share a name. In no order.
    std::vector<Diagnostic> mistakes;
    std::unordered_set<const PropertyAST*> inCircle;

    // Whether evaluation fails because of one of the mistakes, so that the failure is no news.
    std::unordered_set<const PropertyReferenceAST*> unbound;
};

// Binds every reference that can be bound, however many others cannot, records the referrers,
// gives the running scene to those who ask it, and sorts all keys.
Resolution resolve(Scene& scene);

} // namespace Marl::Host
