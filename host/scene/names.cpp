#include <host/scene/names.h>

#include <host/scene/words.h>

#include <algorithm>

namespace Marl::Host {

namespace {

constexpr bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isPlainName(std::string_view name)
{
    const auto belongs = [](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '_'; };
    return !name.empty() && isLetter(name.front()) && std::ranges::all_of(name, belongs) && !isReserved(name);
}

} // namespace

std::string quotedName(std::string_view name)
{
    return isPlainName(name) ? std::string(name) : '`' + std::string(name) + '`';
}

std::string quotedName(std::string_view object, std::string_view property)
{
    return quotedName(object) + '.' + quotedName(property);
}

} // namespace Marl::Host
