#include <host/scene/syntax_mistakes.h>

#include <host/report/utf8.h>

#include <fmt/format.h>

#include <algorithm>

namespace Marl::Host {

namespace {

constexpr std::size_t mostMistakes = 1000;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isTypographicQuote(std::string_view character)
{
    constexpr std::string_view quotes[] = {"“", "”", "„", "‘", "’", "‚", "«", "»"};
    return std::ranges::find(quotes, character) != std::end(quotes);
}

} // namespace

void SyntaxMistakes::note(Span place, std::string message, std::string hint)
{
    if (noted.size() == mostMistakes) {
        noted.push_back(
            {Severity::Error, place, fmt::format("more than {} mistakes; reading stops here", mostMistakes)});
        throw ReadingEnds();
    }
    noted.push_back({Severity::Error, place, std::move(message), std::move(hint)});
}

void SyntaxMistakes::giveUpStatement(Span place, std::string message, std::string hint)
{
    resume = place.end;
    note(place, std::move(message), std::move(hint));
    throw StatementLost();
}

void SyntaxMistakes::giveUpReading(Span place, std::string message, std::string hint)
{
    note(place, std::move(message), std::move(hint));
    throw ReadingEnds();
}

void SyntaxMistakes::complain(const Complaint& complaint, std::int64_t offset, const Bracket* open, bool atEnd)
{
    const Span here = characterAt(offset);
    resume = offset;
    if (textAt(here) == std::string_view("\0", 1))
        note(here, strayNul);
    else if (complaint.expected == Complaint::Closing && open && atEnd)
        note({open->offset, open->offset + 1}, fmt::format("this `{}` is not closed", open->opening));
    else if (complaint.expected == Complaint::Ending && (at(offset) == ')' || at(offset) == ']'))
        note(here, fmt::format("this `{}` closes no bracket", at(offset)));
    else if (complaint.expected == Complaint::Value && !atEnd
             && std::string_view(",)]:=*/").find(at(offset)) == std::string_view::npos)
        note(here, fmt::format("{} begins no value", quoted(here)), hintFor(complaint, offset, open));
    else
        note(missingAt(complaint, offset, atEnd), complaint.text, hintFor(complaint, offset, open));
    throw StatementLost();
}

// What is missing at the end of a line is missing there, not where the next line begins.
Span SyntaxMistakes::missingAt(const Complaint& complaint, std::int64_t offset, bool atEnd) const
{
    const bool isMissing =
        complaint.expected == Complaint::Equals || (complaint.expected == Complaint::Value && atEnd);
    std::int64_t end = offset;
    while (end > 0 && std::string_view(" \t\r\n").find(at(end - 1)) != std::string_view::npos)
        --end;
    const bool crossesLines = textAt({end, offset}).find('\n') != std::string_view::npos;
    return isMissing && crossesLines ? Span{end, end} : Span{offset, offset};
}

std::string SyntaxMistakes::hintFor(const Complaint& complaint, std::int64_t offset, const Bracket* open) const
{
    const char here = at(offset);
    if (hasDecimalComma({offset - 1, offset + 2}))
        return pointHint;
    if (at(offset - 2) == '\\' && (at(offset - 1) == '"' || at(offset - 1) == '\''))
        return "A text has no escapes; it can stand in \"...\", '...' or \"\"\"...\"\"\".";
    if (here == '^' || (here == '*' && at(offset - 1) == '*'))
        return "A power is written pow(base, exponent).";
    if (here == '+' && complaint.expected == Complaint::Value)
        return "A number takes no plus sign.";
    if (isTypographicQuote(textAt(characterAt(offset))))
        return "Texts stand in straight quotes.";
    if (complaint.expected == Complaint::Equals
        && std::string_view(" \t\r\n;}").find(at(offset - 1)) == std::string_view::npos)
        return "A name of other characters stands in back-quotes.";
    if (complaint.expected == Complaint::Closing && open && open->holdsItems
        && (isDigit(here) || here == '-' || here == '.'))
        return "Numbers without commas need a word before the bracket, as in float[1 2 3].";
    return {};
}

char SyntaxMistakes::at(std::int64_t offset) const
{
    const auto index = static_cast<std::size_t>(offset);
    return offset >= 0 && index < text.size() ? text[index] : '\0';
}

std::string_view SyntaxMistakes::textAt(Span place) const
{
    return text.substr(static_cast<std::size_t>(place.begin), static_cast<std::size_t>(place.end - place.begin));
}

bool SyntaxMistakes::hasDecimalComma(Span place) const
{
    for (std::int64_t i = place.begin + 1; i + 1 < place.end; ++i)
        if (at(i) == ',' && isDigit(at(i - 1)) && isDigit(at(i + 1)))
            return true;
    return false;
}

Span SyntaxMistakes::characterAt(std::int64_t offset) const
{
    const auto characters = utf8Characters(textAt({offset, offset + 4}));
    return {offset, offset + (characters.empty() ? 0 : static_cast<std::int64_t>(characters.front().bytes.size()))};
}

std::string SyntaxMistakes::quoted(Span place) const
{
    constexpr std::int64_t most = 40;
    const auto shown = std::min(place.end - place.begin, most);
    std::string_view part = textAt({place.begin, place.begin + shown});
    part = part.substr(0, utf8Complete(part));
    return fmt::format("`{}{}`", part, shown < place.end - place.begin ? "..." : "");
}

} // namespace Marl::Host
