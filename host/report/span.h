#pragma once

#include <cstdint>

namespace Marl::Host {

// The bytes from begin up to, not including, end.
struct Span {
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

} // namespace Marl::Host
