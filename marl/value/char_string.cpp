#include <marl/value/char_string.h>

#include <marl/value/reference_count.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Marl {

namespace {

int checkedLength(const char* text)
{
    const std::size_t length = std::strlen(text);
    if (length >= static_cast<std::size_t>(INT_MAX))
        throw std::length_error("Text of a CharString is longer than an int can say.");
    return static_cast<int>(length);
}

std::unique_ptr<CharStringBuf> newBuffer(int size)
{
    auto buffer = std::make_unique<CharStringBuf>();
    buffer->resize(size);
    return buffer;
}

// The text may overlap the buffer, which is large enough.
void write(CharStringBuf& buffer, const char* text, int length)
{
    std::memmove(buffer.data, text, static_cast<std::size_t>(length));
    buffer.data[length] = '\0';
}

bool sameText(const char* left, const char* right) noexcept
{
    if (!left || !right)
        return left == right;
    return std::strcmp(left, right) == 0;
}

} // namespace

void CharStringBuf::resize(int n)
{
    if (n <= capacity)
        return;
    char* larger = new char[static_cast<std::size_t>(n)]();
    if (data)
        std::memcpy(larger, data, static_cast<std::size_t>(capacity));
    delete[] data;
    data = larger;
    capacity = n;
}

CharStringBuf::~CharStringBuf()
{
    delete[] data;
}

CharString::CharString(const char* text)
{
    if (!text)
        return;
    const int length = checkedLength(text);
    auto fresh = newBuffer(length + 1);
    write(*fresh, text, length);
    buffer = fresh.release();
}

CharString::CharString(const CharString& other) noexcept : buffer(other.buffer)
{
    if (buffer)
        addReference(buffer->refCount);
}

CharString::CharString(CharString&& other) noexcept : buffer(std::exchange(other.buffer, nullptr)) {}

CharString::~CharString()
{
    release();
}

CharString& CharString::operator=(const char* text)
{
    const bool ownsAlone = buffer && !isShared(buffer->refCount);
    if (!text || !ownsAlone)
        return *this = CharString(text);
    const int length = checkedLength(text);
    buffer->resize(length + 1); // text of its own always fits, so this never moves it
    write(*buffer, text, length);
    return *this;
}

CharString& CharString::operator=(const CharString& other) noexcept
{
    return *this = CharString(other);
}

CharString& CharString::operator=(CharString&& other) noexcept
{
    CharString taken(std::move(other));
    std::swap(buffer, taken.buffer);
    return *this;
}

CharString CharString::clone() const
{
    return CharString(static_cast<const char*>(*this));
}

CharString CharString::resized(int length, char*& bytes) const
{
    CharString result;
    bytes = nullptr;
    if (length < 1)
        return result;
    if (length == INT_MAX)
        throw std::length_error("Text of a CharString is longer than an int can say.");
    auto fresh = newBuffer(length + 1);
    if (const char* text = *this)
        std::memcpy(fresh->data, text, std::min(std::strlen(text), static_cast<std::size_t>(length)));
    bytes = fresh->data;
    result.buffer = fresh.release();
    return result;
}

void CharString::release() noexcept
{
    if (buffer && dropReference(buffer->refCount))
        delete buffer;
    buffer = nullptr;
}

bool operator==(const CharString& left, const CharString& right) noexcept
{
    return sameText(left, right);
}

bool operator==(const CharString& left, const char* right) noexcept
{
    return sameText(left, right);
}

} // namespace Marl
