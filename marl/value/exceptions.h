// The failures that evaluation and resolution throw to the host.
#pragma once

#include <marl/api.h>
#include <marl/value/char_string.h>

namespace Marl {

// Catches both failures below. The message is one fixed English sentence that can be shown to a user.
class MARL_API Exception {
public:
    // Shares the text.
    Exception(const CharString& text) noexcept : message(text) {}

    // The message, "" where it has no text; valid as long as the exception.
    const char* what() const noexcept;

    CharString message;
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
