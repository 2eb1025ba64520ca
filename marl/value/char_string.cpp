#include <marl/value/char_string.h>

#include <marl/value/detail/failures.h>
#include <marl/value/reference_count.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <utility>

namespace Marl {

namespace {

// The NUL behind the text is counted in an int too.
int sizeFor(std::size_t length)
{
    if (length >= static_cast<std::size_t>(INT_MAX))
        fail("Text is longer than 2147483646 bytes.");
    return static_cast<int>(length) + 1;
}

std::unique_ptr<CharStringBuf> newBuffer(std::size_t length)
{
    auto buffer = std::make_unique<CharStringBuf>();
    buffer->resize(sizeFor(length));
    return buffer;
}

// The text may overlap the buffer, which is large enough.
void write(CharStringBuf& buffer, const char* text, std::size_t length)
{
    std::memmove(buffer.data, text, length);
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
    const std::size_t length = std::strlen(text);
    auto fresh = newBuffer(length);
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
    const std::size_t length = std::strlen(text);
    buffer->resize(sizeFor(length)); // text of its own always fits, so this never moves it
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
    const auto size = static_cast<std::size_t>(length);
    auto fresh = newBuffer(size);
    if (const char* text = *this)
        std::memcpy(fresh->data, text, std::min(std::strlen(text), size));
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
