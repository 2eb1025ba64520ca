// Reading the shared source on behalf of a node.
#pragma once

#include <marl/ast/source.h>

#include <string>

namespace Marl {

// Holds a source's mutex for as long as it lives. Nodes without owner share one mutex, which
// makes their first evaluation as safe as that of the others.
class SourceLock {
public:
    explicit SourceLock(SourceOwner* owner);
    ~SourceLock();
    SourceLock(const SourceLock&) = delete;
    SourceLock& operator=(const SourceLock&) = delete;

private:
    pthread_mutex_t* mutex;
};

// Reads `length` bytes at `position` into `bytes` and leaves the stream where it stood, also
// when reading throws. The source is locked by the caller. A null stream is an incomplete node.
void readAt(SourceStream* stream, std::int64_t position, char* bytes, int length);

// The `length` bytes at `position`, read under the owner's mutex; nothing without an owner.
std::string readText(SourceOwner* owner, SourceStream* stream, std::int64_t position, int length);

// Throws InvalidOpException, with the byte: what was expected at that byte of the source.
[[noreturn]] void failUnreadable(const char* expected, std::int64_t position);

} // namespace Marl
