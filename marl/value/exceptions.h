// The failures that evaluation and resolution throw to the host.
#pragma once

#include <marl/api.h>
#include <marl/value/char_string.h>
#include <marl/value/value.h>

#include <cstdint>
#include <optional>

namespace Marl {

class ExpressionAST;
class PropertyAST;

// What a failure knows beside its sentence.
struct FailureDetails {
    ExpressionAST* node = nullptr;
    PropertyAST* property = nullptr;
    std::optional<ValueType> leftKind = {};
    std::optional<ValueType> rightKind = {};
    std::int64_t index = 0;
    std::int64_t count = -1;
    std::int64_t byte = -1;

    bool operator==(const FailureDetails&) const = default;
};

// Catches both failures below. The message is one fixed English sentence that can be shown to a user.
class MARL_API Exception {
public:
    // Shares the text.
    Exception(const CharString& text, const FailureDetails& about = {}) noexcept : message(text), known(about) {}

    // The message, "" where it has no text; valid as long as the exception.
    const char* what() const noexcept;

    // The innermost node that failed or could not be bound: the one that lacks a child, whose operands do not
    // go together, whose index has no element. Of references in a circle it is one of them. Borrowed from the
    // tree; null where a host's own code threw and did not say, and without a node to evaluate.
    ExpressionAST* node() const noexcept { return known.node; }

    // The property in whose expression that node stands; null where the resolution pass has not noted one.
    PropertyAST* property() const noexcept { return known.property; }

    // The kinds of the operands that an operator, or keys that are blended, cannot combine; else nothing.
    std::optional<ValueType> leftKind() const noexcept { return known.leftKind; }
    std::optional<ValueType> rightKind() const noexcept { return known.rightKind; }

    // The index that has no element, and how many elements there are: -1 for every other failure, and for
    // a host's node, which does not say.
    std::int64_t index() const noexcept { return known.index; }
    std::int64_t count() const noexcept { return known.count; }

    // Where a source cannot be read, in bytes from its start; -1 for every other failure.
    std::int64_t byte() const noexcept { return known.byte; }

    // All of these.
    const FailureDetails& details() const noexcept { return known; }

    // Says where it happened, unless that is known already. For whoever lets it pass on its way to the host.
    void happenedAt(ExpressionAST* node, PropertyAST* property) noexcept;

    CharString message;

private:
    FailureDetails known;
};

// An expression cannot be evaluated.
class MARL_API InvalidOpException : public Exception {
public:
    using Exception::Exception;
};

// A reference names something that the scene does not have.
class MARL_API BadRefException : public Exception {
public:
    using Exception::Exception;
};

} // namespace Marl
