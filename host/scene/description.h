// Messages beside the lines that they are about, as people and editors read them.
#pragma once

#include <host/report/diagnostic.h>
#include <host/scene/scene_file.h>

#include <string>

namespace Marl::Host {

// Three lines for the terminal: `file:line:col: error: text`, the source line, and a caret under
// the place with the rest of it underlined. Tabs, characters of several bytes and long lines keep
// the caret where it belongs; bytes that a terminal must not see are replaced.
std::string describe(const Diagnostic& diagnostic, SceneFile& file);

} // namespace Marl::Host
