#include <host/report/kind_text.h>

#include <iterator>

namespace Marl::Host {

std::string_view kindName(int kind)
{
    constexpr std::string_view names[] = {"Undefined", "Double",      "List",      "Vector",     "Matrix",
                                          "Color",     "AColor",      "Transform", "ListVector", "ListInt",
                                          "ListColor", "ListFloat",   "String",    "ListString", "Object",
                                          "ObjectID",  "RuntimeValue"};
    return kind >= 0 && kind < static_cast<int>(std::size(names)) ? names[kind] : "unknown kind";
}

std::string kindWithArticle(int kind)
{
    const std::string_view name = kindName(kind);
    const bool startsWithVowel = std::string_view("AOUu").find(name.front()) != std::string_view::npos;
    return (startsWithVowel ? "an " : "a ") + std::string(name);
}

} // namespace Marl::Host
