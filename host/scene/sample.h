// The number that a call of sample or uniform() keeps for life.
#pragma once

#include <cstdint>
#include <string_view>

namespace Marl::Host {

// A number in [0, 1), evenly spread, that depends only on the four arguments: an edit elsewhere
// in a scene, another machine or another compiler changes nothing.
//
// The 64-bit FNV-1a hash of object, a zero byte, property, a zero byte, and the occurrence and
// the seed as four bytes each, lowest first, goes through the finalizer of splitmix64 (Sebastiano
// Vigna). The upper 24 bits, divided by 2^24, are the sample, so it is exact in single precision.
float drawSample(std::string_view object, std::string_view property, std::uint32_t occurrence, std::uint32_t seed);

} // namespace Marl::Host
