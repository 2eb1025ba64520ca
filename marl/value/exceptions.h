// The failures that evaluation and resolution throw to the host.
#pragma once

#include <marl/api.h>
#include <marl/value/char_string.h>

#include <cstdint>

namespace Marl {

struct FailureDetails {
    std::int64_t byte = -1; // where a source cannot be read, from its start
};

// Catches both failures below. The message is one fixed English sentence that can be shown to a user.
class MARL_API Exception {
public:
    // Shares the text.
    Exception(const CharString& text, const FailureDetails& about = {}) noexcept : message(text), details(about) {}

    // The message, "" where it has no text; valid as long as the exception.
    const char* what() const noexcept;

    // Where a source cannot be read, in bytes from its start; -1 for every other failure.
    std::int64_t byte() const noexcept { return details.byte; }

    CharString message;

private:
    FailureDetails details;
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
