// Source streams and the nodes that read them.
#include <marl/ast/source.h>

#include <marl/ast/detail/source_reading.h>
#include <marl/ast/list_text.h>
#include <marl/ast/nodes.h>
#include <marl/value/detail/failures.h>
#include <marl/value/exceptions.h>

#include <algorithm>
#include <atomic>
#include <utility>

namespace Marl {

SourceOwner::SourceOwner()
{
    pthread_mutex_init(&sourceMutex, nullptr);
}

SourceOwner::~SourceOwner()
{
    pthread_mutex_destroy(&sourceMutex);
}

static pthread_mutex_t ownerless = PTHREAD_MUTEX_INITIALIZER;

SourceLock::SourceLock(SourceOwner* owner) : mutex(owner ? &owner->sourceMutex : &ownerless)
{
    pthread_mutex_lock(mutex);
}

SourceLock::~SourceLock()
{
    pthread_mutex_unlock(mutex);
}

void readAt(SourceStream* stream, std::int64_t position, char* bytes, int length)
{
    if (!stream)
        failIncomplete();
    const std::int64_t before = stream->tell();
    try {
        stream->seek(position);
        int status = 0;
        if (length > 0)
            stream->read(bytes, length, &status);
    } catch (...) {
        try {
            stream->seek(before);
        } catch (...) { // the first failure is the one to report
        }
        throw;
    }
    stream->seek(before);
}

std::string readText(SourceOwner* owner, SourceStream* stream, std::int64_t position, int length)
{
    if (!owner)
        return {};
    std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
    const SourceLock lock(owner);
    readAt(stream, position, text.data(), length);
    return text;
}

void failUnreadable(const char* expected, std::int64_t position)
{
    const std::string message =
        "Expected " + std::string(expected) + " at byte " + std::to_string(position) + " of the source.";
    throw InvalidOpException(message.c_str(), {.byte = position});
}

void StringExpressionAST::load()
{
    const std::atomic_ref<int> isLoaded(loaded);
    if (isLoaded.load(std::memory_order_acquire))
        return;
    const SourceLock lock(owner);
    if (isLoaded.load(std::memory_order_relaxed))
        return;
    char* bytes = nullptr;
    CharString filled = text.resized(length, bytes);
    if (owner)
        readAt(stream, sourceOffset, bytes, length);
    text = std::move(filled);
    isLoaded.store(1, std::memory_order_release);
}

TraceTransform TransformHexExpressionAST::readFromSource()
{
    TraceTransform transform;
    const std::string text = readText(owner, stream, sourceOffset, length);
    if (const auto fault = readHexTransform(text, transform))
        failUnreadable(fault->expected, sourceOffset + fault->offset);
    return transform;
}

template <typename T>
PtrArray<T> ListTypeExpressionAST<T>::readFromSource()
{
    const std::string text = readText(owner, stream, sourceOffset, length);
    std::vector<T> items;
    if (const auto fault = readListText(text, items))
        failUnreadable(fault->expected, sourceOffset + fault->offset);
    PtrArray<T> list;
    list.allocArray(static_cast<int>(items.size())); // never more items than bytes
    std::ranges::move(items, list.data);
    return list;
}

template PtrArray<Vector> ListTypeExpressionAST<Vector>::readFromSource();
template PtrArray<int> ListTypeExpressionAST<int>::readFromSource();
template PtrArray<Color> ListTypeExpressionAST<Color>::readFromSource();
template PtrArray<float> ListTypeExpressionAST<float>::readFromSource();
template PtrArray<CharString> ListTypeExpressionAST<CharString>::readFromSource();

} // namespace Marl
