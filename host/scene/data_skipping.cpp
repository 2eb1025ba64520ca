#include <host/scene/data_skipping.h>

#include <algorithm>
#include <array>

namespace Marl::Host {

namespace {

constexpr std::array<bool, 256> isSpecial = [] {
    std::array<bool, 256> special = {};
    for (const char c : std::string_view("];{}=/\"'"))
        special[static_cast<unsigned char>(c)] = true;
    return special;
}();

// Behind the token, searched from `from` on; the end of the text where it never comes.
std::size_t behind(std::string_view text, std::string_view token, std::size_t from)
{
    const std::size_t found = text.find(token, from);
    return found == std::string_view::npos ? text.size() : found + token.size();
}

// Behind the text or comment that begins at `at`, or the next byte where none does.
std::size_t behindTextOrComment(std::string_view text, std::size_t at)
{
    const std::string_view rest = text.substr(at);
    if (rest.starts_with("//"))
        return behind(text, "\n", at);
    if (rest.starts_with("/*"))
        return behind(text, "*/", at + 2);
    if (rest.starts_with("\"\"\""))
        return behind(text, "\"\"\"", at + 3);
    if (rest[0] == '/')
        return at + 1;
    const std::size_t end = text.find_first_of(rest[0] == '"' ? "\"\n" : "'\n", at + 1);
    return std::min(end, text.size() - 1) + 1;
}

} // namespace

std::size_t skipData(std::string_view text, const std::function<void(const char*)>& passed)
{
    constexpr std::size_t portion = 1 << 20;
    std::size_t next = portion;
    std::size_t at = 0;
    while (at < text.size()) {
        if (at >= next) {
            passed(text.data() + at);
            next = at + portion;
        }
        const char c = text[at];
        if (!isSpecial[static_cast<unsigned char>(c)])
            ++at;
        else if (c == '/' || c == '"' || c == '\'')
            at = behindTextOrComment(text, at);
        else
            break;
    }
    return at;
}

} // namespace Marl::Host
