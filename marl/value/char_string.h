// Text shared by count, copied when written.
//
// A string without buffer has no text at all and converts to a null pointer; that
// is not the same as the empty text, which has a buffer. Lookups tell them apart.
#pragma once

#include <marl/api.h>

namespace Marl {

// Shared by strings; whoever drops refCount to zero deletes it.
class MARL_API CharStringBuf {
public:
    CharStringBuf() = default;
    CharStringBuf(const CharStringBuf&) = delete;
    CharStringBuf& operator=(const CharStringBuf&) = delete;

    // Makes data hold at least n bytes. What stood there stays, new bytes are zero.
    // Throws std::bad_alloc, and then nothing has changed.
    virtual void resize(int n);
    virtual ~CharStringBuf();

    char* data = nullptr; // NUL-terminated, owned; null before the first resize
    int refCount = 1;

private:
    int capacity = 0;
};

// One string may be copied and dropped by several threads at once, but changed by none meanwhile.
class MARL_API CharString {
public:
    CharString() noexcept = default;

    // A copy of the NUL-terminated text; null gives a string without buffer.
    // Throws InvalidOpException where the text and its NUL do not fit an int, std::bad_alloc.
    CharString(const char* text);
    CharString(const CharString& other) noexcept;
    CharString(CharString&& other) noexcept;
    ~CharString();

    // The text may lie in this string's own buffer. On failure the string keeps its old text.
    CharString& operator=(const char* text);
    CharString& operator=(const CharString& other) noexcept;
    CharString& operator=(CharString&& other) noexcept;

    // Null for a string without buffer; valid until the string is changed or dropped.
    operator const char*() const noexcept { return buffer ? buffer->data : nullptr; }

    // The same text in a buffer that no other string shares; no buffer where there is no text.
    [[nodiscard]] CharString clone() const;

    // The same text cut or zero-filled to `length` bytes, in a buffer of its own that may be
    // written through `bytes` until the string is shared. Below 1 there is no buffer. Throws
    // InvalidOpException where `length` is INT_MAX, std::bad_alloc.
    [[nodiscard]] CharString resized(int length, char*& bytes) const;

private:
    void release() noexcept;

    CharStringBuf* buffer = nullptr;
};

// Equal text, byte for byte; no text equals only no text.
MARL_API bool operator==(const CharString& left, const CharString& right) noexcept;
MARL_API bool operator==(const CharString& left, const char* right) noexcept;

} // namespace Marl
