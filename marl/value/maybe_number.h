// A number or nothing, in two registers.
#pragma once

namespace Marl {

// What std::optional<double> says. But g++ 12 copies that one through memory, and the copy
// waits for the number's store: on the way of every operand that costs more than its sum. It
// has no functions either, for under a sanitizer each of their objects needs a place in the
// frame, and the evaluator's frames recurse.
struct MaybeNumber {
    double number = 0;
    bool isThere = false;
};

constexpr MaybeNumber just(double number)
{
    return {number, true};
}

} // namespace Marl
