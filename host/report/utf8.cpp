#include <host/report/utf8.h>

#include <algorithm>

namespace Marl::Host {

namespace {

bool continues(char byte)
{
    return (byte & 0xc0) == 0x80;
}

// By the first byte; 0 for a byte that begins no character.
std::size_t lengthBy(char first)
{
    const auto byte = static_cast<unsigned char>(first);
    if (byte < 0x80)
        return 1;
    if (byte >= 0xc2 && byte < 0xe0)
        return 2;
    if (byte >= 0xe0 && byte < 0xf0)
        return 3;
    return byte >= 0xf0 && byte < 0xf5 ? 4 : 0;
}

// Control characters of one byte, and those of two, U+0080 to U+009F.
bool isControl(std::string_view character)
{
    const auto last = static_cast<unsigned char>(character.back());
    if (character.size() == 1)
        return (last < ' ' && last != '\t') || last == 0x7f;
    return character.size() == 2 && character[0] == '\xc2' && last < 0xa0;
}

} // namespace

std::vector<Utf8Character> utf8Characters(std::string_view text)
{
    std::vector<Utf8Character> characters;
    while (!text.empty()) {
        const std::size_t length = lengthBy(text.front());
        const bool isValid =
            length > 0 && text.size() >= length && std::ranges::all_of(text.substr(1, length - 1), continues);
        characters.push_back({text.substr(0, isValid ? length : 1), isValid});
        text.remove_prefix(characters.back().bytes.size());
    }
    return characters;
}

std::size_t utf8Continuation(std::string_view text)
{
    const auto first = std::ranges::find_if_not(text, continues);
    return std::min<std::size_t>(static_cast<std::size_t>(first - text.begin()), 3);
}

std::size_t utf8Complete(std::string_view text)
{
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, text.size()); ++back) {
        const char byte = text[text.size() - back];
        if (!continues(byte))
            return lengthBy(byte) > back ? text.size() - back : text.size();
    }
    return text.size();
}

std::string printable(std::string_view text)
{
    std::string shown;
    for (const Utf8Character& character : utf8Characters(text))
        shown += character.isValid && !isControl(character.bytes) ? character.bytes : "\xef\xbf\xbd";
    return shown;
}

} // namespace Marl::Host
