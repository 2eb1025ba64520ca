// The operators of binary expressions.
#pragma once

namespace Marl {

// The codes are the parser's own; its fixed underlying type makes every other code a
// defined value, which evaluates to an undefined value.
enum TOKENTYPE : int {
    TOKEN_PLUS = 13,
    TOKEN_MINUS = 14,
    TOKEN_DIVIDE = 15,
    TOKEN_MULTIPLY = 16,
};

} // namespace Marl
