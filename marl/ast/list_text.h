// The text of typed lists and hexadecimal transforms, as it stands between the brackets.
#pragma once

#include <marl/api.h>
#include <marl/value/records.h>

#include <optional>
#include <string_view>
#include <vector>

namespace Marl {

// The first place where a text cannot be read.
struct TextFault {
    int offset;           // in bytes from the start of the text
    const char* expected; // "a number", say; a static text
};

// Reads one number as scenes write it: an optional minus, digits with an optional point and
// exponent, or inf or nan. A number too small for double precision becomes zero.
MARL_API std::optional<TextFault> readNumberText(std::string_view word, double& number);

// Reads the items of a list of T = float, int, Vector, Color or CharString into `items`.
//
// Numbers are separated by white space; vectors and colors are three of them, separated by
// commas; strings stand in "...", '...' or """...""" without escapes, separated by commas.
// One comma may follow the last item. Comments are white space. Floats are read straight to
// single precision; one too large for it is a fault, one too small becomes zero.
template <typename T>
MARL_API std::optional<TextFault> readListText(std::string_view text, std::vector<T>& items);

// Reads 120 hexadecimal digits: nine floats, column by column, then three doubles, each with
// its most significant digit first. White space between digits is skipped.
MARL_API std::optional<TextFault> readHexTransform(std::string_view text, TraceTransform& transform);

} // namespace Marl
