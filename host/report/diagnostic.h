// One message about a place in a scene.
#pragma once

#include <host/report/span.h>

#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

enum class Severity { Error, Warning };

std::string_view severityName(Severity severity);

struct Diagnostic {
    Severity severity = Severity::Error;
    Span place;
    std::string text;      // what is wrong
    std::string hint = {}; // what to do about it; may be empty
};

// The text, and the hint as a sentence behind it.
std::string sentence(const Diagnostic& diagnostic);

// In the order of the file; of one place in the order given.
void sortByPlace(std::vector<Diagnostic>& diagnostics);

} // namespace Marl::Host
