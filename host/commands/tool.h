// The tool as a whole: its commands, and what becomes of failures.
#pragma once

namespace Marl::Host {

// The exit status: 0 fine, 1 the scene has errors, 2 wrong usage, 3 a file could not be read or written.
int runTool(int count, char** arguments);

} // namespace Marl::Host
