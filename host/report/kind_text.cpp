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

std::string_view kindInWords(int kind)
{
    constexpr std::string_view words[] = {"an undefined value",
                                          "a number",
                                          "a list",
                                          "a vector",
                                          "a matrix",
                                          "a color",
                                          "an rgba",
                                          "a transform",
                                          "a vec[...] list",
                                          "an int[...] list",
                                          "an rgb[...] list",
                                          "a float[...] list",
                                          "a text",
                                          "a string[...] list",
                                          "an object",
                                          "an identifier",
                                          "a runtime value"};
    return kind >= 0 && kind < static_cast<int>(std::size(words)) ? words[kind] : "a value of unknown kind";
}

} // namespace Marl::Host
