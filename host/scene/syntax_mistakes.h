// What is wrong with a scene's text, said as its author sees it.
#pragma once

#include <host/report/diagnostic.h>

#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

// What the grammar says where a rule that must match does not.
struct Complaint {
    // What could have stood there decides which other explanation fits better.
    enum Expected { Value, Closing, Equals, Ending, Plain };

    const char* text;
    Expected expected = Plain;
};

// A bracket that waits for its partner.
struct Bracket {
    std::int64_t offset;
    char opening;
    bool holdsItems; // of a list in the text, which wants commas
};

// Thrown after a mistake was noted: the statement is given up and reading goes on behind it.
struct StatementLost {};

// Thrown after a mistake was noted that leaves nothing to read behind it.
struct ReadingEnds {};

class SyntaxMistakes {
public:
    SyntaxMistakes(std::string_view given, std::vector<Diagnostic>& notes) : text(given), noted(notes) {}

    // Notes a mistake behind which reading can go on.
    void note(Span place, std::string message, std::string hint = {});

    // Notes a mistake and throws StatementLost; recovery begins at the place's end.
    [[noreturn]] void giveUpStatement(Span place, std::string message, std::string hint = {});

    // Notes a mistake and throws ReadingEnds.
    [[noreturn]] void giveUpReading(Span place, std::string message, std::string hint = {});

    // The same as giveUpStatement() for a rule that must match and did not. The bracket is the innermost open
    // one, or null; an end of the statement there means that the bracket was not closed.
    [[noreturn]] void complain(const Complaint& complaint, std::int64_t offset, const Bracket* open, bool atEnd);

    std::int64_t resumeAt() const { return resume; }

    // Whether a comma stands between two digits of the span, as in 1,5.
    bool hasDecimalComma(Span place) const;
    static constexpr const char* pointHint = "Numbers use a point, not a comma.";

    static constexpr const char* strayNul = "expected no NUL outside texts";

    // The place of the character at the offset, empty at the end of the text.
    Span characterAt(std::int64_t offset) const;

    // The text at the place, cut when it is long, in back-quotes.
    std::string quoted(Span place) const;

private:
    char at(std::int64_t offset) const;
    std::string_view textAt(Span place) const;
    Span missingAt(const Complaint& complaint, std::int64_t offset, bool atEnd) const;
    std::string hintFor(const Complaint& complaint, std::int64_t offset, const Bracket* open) const;

    std::string_view text;
    std::vector<Diagnostic>& noted;
    std::int64_t resume = 0;
};

} // namespace Marl::Host
