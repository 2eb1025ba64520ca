// The host behind a tree: the text it was read from and the running scene.
#pragma once

#include <marl/api.h>

#include <cstdint>

#include <pthread.h>

namespace Marl {

class Object;

// The seekable stream of a scene's text, shared by every node that was read from it. It is
// only touched while the owner's sourceMutex is held. An operation may throw; the node
// that asked stays unread then.
class MARL_API SourceStream {
public:
    virtual std::int64_t tell() = 0;
    virtual void seek(std::int64_t position) = 0;
    // Reads `size` bytes into `buffer`. Where fewer come the rest of the buffer is left
    // alone; status is 0 beforehand and nobody looks at it afterwards.
    virtual void read(char* buffer, int size, int* status) = 0;
    virtual ~SourceStream() = default;
};

// Guards one stream. A reader's whole sequence of tell, seek, read and seek back happens
// under the mutex.
class MARL_API SourceOwner {
public:
    SourceOwner();
    ~SourceOwner();
    SourceOwner(const SourceOwner&) = delete;
    SourceOwner& operator=(const SourceOwner&) = delete;

    pthread_mutex_t sourceMutex;
};

// The running scene, asked during evaluation, without a lock and from several threads at once.
class MARL_API Parser {
public:
    // The scene object of that name; the name may be null. What an unknown name gives is
    // the host's decision: the pointer is handed on as it is.
    virtual Object* findObject(const char* name) = 0;
    virtual ~Parser() = default;
};

} // namespace Marl
