#pragma once

#include <string>

namespace Marl::Host {

// What gnuplot prints for the script. It runs without its user's settings. Throws std::runtime_error
// with one line about what is wrong: gnuplot is missing or has failed.
std::string runGnuplot(const std::string& script);

} // namespace Marl::Host
