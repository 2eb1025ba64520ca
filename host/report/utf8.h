// Text of unknown origin, character by character.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

struct Utf8Character {
    std::string_view bytes;
    bool isValid; // else it is a single byte that belongs to no character
};

std::vector<Utf8Character> utf8Characters(std::string_view text);

// How many bytes at the start of a text that was cut there continue a character before it.
std::size_t utf8Continuation(std::string_view text);

// How many bytes of the text are left without the begun character at its end.
std::size_t utf8Complete(std::string_view text);

// The text with every control character but tab, and every byte that belongs to no character,
// replaced by a replacement character: safe for a terminal, one column each.
std::string printable(std::string_view text);

} // namespace Marl::Host
