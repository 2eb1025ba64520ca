// What one evaluation may take before it is given up.
#pragma once

#include <atomic>
#include <cstdint>

namespace Marl::Host {

// Enough for every scene that anyone wants to wait for; 0 is no limit.
struct Limits {
    std::uint64_t steps = 100'000'000;
    std::uint64_t memory = 512 << 20; // bytes

    void apply(auto& evaluator, const std::atomic<bool>* stop = nullptr) const
    {
        evaluator.setStepLimit(steps);
        evaluator.setMemoryLimit(memory);
        evaluator.setStopFlag(stop);
    }
};

} // namespace Marl::Host
