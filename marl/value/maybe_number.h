// A number or nothing, in two registers.
#pragma once

namespace Marl {

// What std::optional<double> says. But g++ 12 copies that one through memory, and the copy
// waits for the number's store: on the way of every operand that costs more than its sum.
struct MaybeNumber {
    constexpr MaybeNumber() = default;
    constexpr MaybeNumber(double given) : number(given), isThere(true) {}

    constexpr explicit operator bool() const { return isThere; }
    constexpr double operator*() const { return number; }

    double number = 0;
    bool isThere = false;
};

} // namespace Marl
