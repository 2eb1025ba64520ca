#include <host/output/short_value.h>

#include <host/output/value_text.h>
#include <host/report/utf8.h>

#include <fmt/format.h>

#include <algorithm>

namespace Marl::Host {

namespace {

constexpr int mostItems = 20;

// The list by its first items. Gives the list up.
template <typename T>
Value beginningOf(PtrArray<T>&& list, int& count)
{
    ArrayHold items(std::move(list));
    count = items->count;
    items->count = std::min(count, mostItems);
    return *items;
}

Value beginningOf(const Value& value, int& count)
{
    switch (value.kind()) {
    case ValueType::List: return beginningOf(value.getList(), count);
    case ValueType::ListVector: return beginningOf(value.getListVector(), count);
    case ValueType::ListInt: return beginningOf(value.getListInt(), count);
    case ValueType::ListColor: return beginningOf(value.getListColor(), count);
    case ValueType::ListFloat: return beginningOf(value.getListFloat(), count);
    case ValueType::ListString: return beginningOf(value.getListString(), count);
    default: count = 0; return value;
    }
}

} // namespace

std::string shortText(std::string_view text, std::size_t width)
{
    std::string line;
    for (const char c : text) {
        const bool isBlank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        if (!isBlank)
            line += c;
        else if (!line.empty() && line.back() != ' ')
            line += ' ';
    }
    std::vector<Utf8Character> characters = utf8Characters(line);
    if (characters.size() <= width)
        return printable(line);
    characters.resize(width - 3);
    std::string cut;
    for (const Utf8Character& character : characters)
        cut += character.bytes;
    return printable(cut) + "...";
}

std::string shortValueText(const Value& value, std::size_t width)
try {
    int count = 0;
    std::string text = valueText(beginningOf(value, count));
    if (count <= mostItems)
        return shortText(text, width);
    text.back() = ' ';
    return fmt::format("{}, {} items", shortText(text + "...]", width), count);
} catch (const InvalidOpException& tooDeep) {
    return tooDeep.what();
}

} // namespace Marl::Host
