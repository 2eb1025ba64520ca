// Room for recursion.
#pragma once

#include <functional>

#include <pthread.h>

namespace Marl::Host {

// A thread with a stack of 64 MiB, of which only what is used takes memory.
class DeepThread {
public:
    // Throws std::system_error where there is no room for such a stack.
    explicit DeepThread(std::function<void()> given);
    // Waits for the end of the work.
    ~DeepThread();
    DeepThread(const DeepThread&) = delete;
    DeepThread& operator=(const DeepThread&) = delete;

private:
    static void* run(void* self);

    const std::function<void()> work; // throws nothing
    pthread_t thread;
};

// Runs the work to its end on such a stack. What the work throws comes out of here.
void runOnDeepStack(const std::function<void()>& work);

} // namespace Marl::Host
