// The text of typed lists and hexadecimal transforms, as it stands between the brackets.
//
// A text in quotes is handed out as its bytes stand; as a value it ends at its first NUL. Outside texts, also in
// comments, a NUL is a fault.
#pragma once

#include <marl/api.h>
#include <marl/value/records.h>

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace Marl {

// The first place where a text cannot be read.
struct TextFault {
    int offset;           // in bytes from the start of the text
    const char* expected; // "a number", say; a static text
};

// A quoted text or a comment at the beginning of some text.
struct TextStretch {
    std::size_t length = 0; // as far as it goes, in bytes with its marks; 0 where none begins there
    std::size_t mark = 0;   // bytes of the mark that opens it; closing quotes have as many
    bool isClosed = false;
};

// "...", '...' or """...""", without escapes. The first two end on their line or are not closed.
MARL_API TextStretch quotedTextAt(std::string_view text);

// A comment: // and what follows on its line, or /*...*/.
MARL_API TextStretch commentAt(std::string_view text);

// Reads one number as scenes write it: an optional minus, digits with an optional point and
// exponent, or inf or nan. A number too small for double precision becomes zero.
MARL_API std::optional<TextFault> readNumberText(std::string_view word, double& number);

// Reads the items of a list of T = float, int, Vector, Color or CharString into `items`.
//
// Numbers are separated by white space; vectors and colors are three of them, separated by
// commas; strings stand in quotes and are separated by commas.
// One comma may follow the last item. Comments are white space. Floats are read straight to
// single precision; one too large for it is a fault, one too small becomes zero.
template <typename T>
MARL_API std::optional<TextFault> readListText(std::string_view text, std::vector<T>& items);

// Reads 120 hexadecimal digits: nine floats, column by column, then three doubles, each with
// its most significant digit first. White space between digits is skipped.
MARL_API std::optional<TextFault> readHexTransform(std::string_view text, TraceTransform& transform);

} // namespace Marl
