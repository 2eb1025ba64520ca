// Counting of shared buffers and arrays.
//
// Counts are plain int fields that are only changed through these words, so that
// evaluators on several threads may share one tree's strings and lists.
#pragma once

#include <atomic>

namespace Marl {

inline void addReference(int& count) noexcept
{
    std::atomic_ref<int>(count).fetch_add(1, std::memory_order_relaxed);
}

// True for whoever gives up the last reference and therefore frees.
[[nodiscard]] inline bool dropReference(int& count) noexcept
{
    return std::atomic_ref<int>(count).fetch_sub(1, std::memory_order_acq_rel) == 1;
}

[[nodiscard]] inline bool isShared(int& count) noexcept
{
    return std::atomic_ref<int>(count).load(std::memory_order_acquire) > 1;
}

} // namespace Marl
