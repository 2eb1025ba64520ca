// One message about a place in a scene, and how people and editors read it.
#pragma once

#include <host/scene/scene_file.h>

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

// Three lines for the terminal: `file:line:col: error: text`, the source line, and a caret under
// the place with the rest of it underlined. Tabs, characters of several bytes and long lines keep
// the caret where it belongs; bytes that a terminal must not see are replaced.
std::string describe(const Diagnostic& diagnostic, SceneFile& file);

} // namespace Marl::Host
