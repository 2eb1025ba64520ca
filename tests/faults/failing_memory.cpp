#include <tests/faults/failing_memory.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include <malloc.h>

namespace Marl::Tests {

namespace {

thread_local long live = 0;
thread_local long bytes = 0;
thread_local int untilShortage = INT_MAX;
thread_local bool shortageLasts = false;
thread_local bool anyFailed = false;

bool mayAllocate()
{
    if (untilShortage == INT_MAX || --untilShortage > 0)
        return true;
    untilShortage = shortageLasts ? 1 : INT_MAX;
    anyFailed = true;
    return false;
}

void* allocated(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) noexcept
{
    if (!mayAllocate())
        return nullptr;
    void* memory = nullptr;
    if (posix_memalign(&memory, alignment, std::max(size, std::size_t{1})) != 0)
        return nullptr;
    ++live;
    bytes += static_cast<long>(malloc_usable_size(memory));
    return memory;
}

void* allocatedOrThrow(std::size_t size, std::size_t alignment = alignof(std::max_align_t))
{
    if (void* memory = allocated(size, alignment))
        return memory;
    throw std::bad_alloc();
}

void give(void* memory) noexcept
{
    live -= memory ? 1 : 0;
    bytes -= static_cast<long>(malloc_usable_size(memory));
    std::free(memory);
}

} // namespace

void runOutOfMemory(const Shortage& shortage)
{
    untilShortage = shortage.at;
    shortageLasts = shortage.lasts;
    anyFailed = false;
}

bool endShortage()
{
    untilShortage = INT_MAX;
    return std::exchange(anyFailed, false);
}

long liveAllocations()
{
    return live;
}

long liveBytes()
{
    return bytes;
}

} // namespace Marl::Tests

// All of them: a sanitizer's own set does not go through the plain one.
// clang-format off
using namespace Marl::Tests;
void* operator new(std::size_t size)                                              { return allocatedOrThrow(size); }
void* operator new[](std::size_t size)                                            { return allocatedOrThrow(size); }
void* operator new(std::size_t size, std::align_val_t alignment)                  { return allocatedOrThrow(size, static_cast<std::size_t>(alignment)); }
void* operator new[](std::size_t size, std::align_val_t alignment)                { return allocatedOrThrow(size, static_cast<std::size_t>(alignment)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept              { return allocated(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept            { return allocated(size); }
void operator delete(void* memory) noexcept                                       { give(memory); }
void operator delete[](void* memory) noexcept                                     { give(memory); }
void operator delete(void* memory, std::size_t) noexcept                          { give(memory); }
void operator delete[](void* memory, std::size_t) noexcept                        { give(memory); }
void operator delete(void* memory, std::align_val_t) noexcept                     { give(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept                   { give(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept        { give(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept      { give(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept                { give(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept              { give(memory); }
// clang-format on
