#include <host/scene/description.h>

#include <host/report/utf8.h>

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace Marl::Host {

namespace {

// A part of a source line around a place; what is far from it is cut off.
struct Excerpt {
    std::string before, marked, after;
};

constexpr std::int64_t mostBefore = 120;
constexpr std::int64_t mostBehind = 80;
constexpr std::string_view cutMark = "...";

Excerpt excerptAt(Span place, SceneFile& file)
{
    const std::int64_t lineBegin = file.lineBegin(place.begin);
    const std::int64_t begin = std::max(lineBegin, place.begin - mostBefore);
    std::string before = file.textAt({begin, place.begin});
    std::string behind = file.textAt({place.begin, place.begin + mostBehind});
    bool isCut = static_cast<std::int64_t>(behind.size()) == mostBehind;
    if (const auto end = behind.find_first_of("\r\n"); end != std::string::npos) {
        behind.resize(end);
        isCut = false;
    }
    // A cut may not begin or end within a character.
    if (begin > lineBegin)
        before = std::string(cutMark) + before.substr(std::min(before.size(), utf8Continuation(before)));
    if (isCut)
        behind.resize(utf8Complete(behind));

    const auto marked = static_cast<std::size_t>(std::max<std::int64_t>(place.end - place.begin, 0));
    const std::size_t split = std::min(marked, behind.size());
    return {before, behind.substr(0, split), behind.substr(split) + std::string(isCut ? cutMark : "")};
}

// As many columns as the text, tabs left as they are.
std::string blanksFor(std::string_view text)
{
    std::string blanks;
    for (const Utf8Character& character : utf8Characters(text))
        blanks += character.bytes == "\t" ? '\t' : ' ';
    return blanks;
}

} // namespace

std::string describe(const Diagnostic& diagnostic, SceneFile& file)
{
    const Excerpt excerpt = excerptAt(diagnostic.place, file);
    const std::size_t width = utf8Characters(excerpt.marked).size();
    return fmt::format("{}:{}: {}: {}\n{}{}{}\n{}^{}\n", file.path(), file.lineColumnText(diagnostic.place.begin),
                       severityName(diagnostic.severity), printable(sentence(diagnostic)), printable(excerpt.before),
                       printable(excerpt.marked), printable(excerpt.after), blanksFor(excerpt.before),
                       std::string(width > 1 ? width - 1 : 0, '~'));
}

} // namespace Marl::Host
