// Telling which properties fail, and why.
#pragma once

#include <host/analysis/resolution.h>

#include <cstddef>
#include <exception>

namespace Marl::Host {

struct Failures {
    std::size_t count = 0;
    double firstTime = 0;
    std::exception_ptr first; // an Exception of the library

    void add(const Failures& later);
};

// Shows the first failure with its place, and how many of the times fail. What a missing name or a
// circle of references leads to is no news and only mentioned.
void reportFailures(Scene& scene, const Resolution& resolution, const SceneProperty& property,
                    const Failures& failures, std::size_t times);

} // namespace Marl::Host
