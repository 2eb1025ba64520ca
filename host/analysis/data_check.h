// Data that stays in the file until it is asked for, looked at beforehand.
#pragma once

#include <host/scene/scene.h>

#include <vector>

namespace Marl::Host {

// Reads every data list and hexadecimal transform and notes the first thing in each that cannot be
// read. Throws FileError.
void checkData(const Scene& scene, std::vector<Diagnostic>& mistakes);

} // namespace Marl::Host
