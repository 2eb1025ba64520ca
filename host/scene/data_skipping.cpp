#include <host/scene/data_skipping.h>

#include <marl/ast/list_text.h>

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
        else if (c == '"' || c == '\'')
            at += quotedTextAt(text.substr(at)).length;
        else if (c == '/')
            at += std::max<std::size_t>(commentAt(text.substr(at)).length, 1);
        else
            break;
    }
    return at;
}

} // namespace Marl::Host
