// What an evaluation may take: steps, memory for its values, and time until somebody stops it.
#pragma once

#include <marl/api.h>

#include <atomic>
#include <cstdint>
#include <limits>

namespace Marl {

// Counts down to the next look at the limits, so that evaluation without limits pays for a decrement a step.
class MARL_API Budget {
public:
    // clang-format off
    void setStepLimit(std::uint64_t steps)              { stepLimit = steps; begin(); }
    void setMemoryLimit(std::uint64_t most)             { memoryLimit = most; }
    void setStopFlag(const std::atomic<bool>* flag)     { stopFlag = flag; begin(); }
    // clang-format on

    // An evaluation begins.
    void begin() noexcept;

    // Fails where a limit is reached, or where the flag says so.
    void takeStep()
    {
        if (--untilLook == 0)
            look();
    }
    void takeMemory(std::uint64_t bytes);
    void lookAtStopFlag() const
    {
        if (stopFlag && stopFlag->load(std::memory_order_relaxed)) [[unlikely]]
            failStopped();
    }

    bool isLimited() const noexcept { return stepLimit != 0 || memoryLimit != 0 || stopFlag; }
    bool limitsMemory() const noexcept { return memoryLimit != 0; }

    // Of values that stay while other evaluations go on.
    void hold(std::uint64_t kept) noexcept { bytesHeld += kept; }
    void letGo(std::uint64_t kept) noexcept { bytesHeld -= kept; }

    // What is left for an evaluation within this one, and what that one has taken.
    Budget rest() const noexcept;
    void take(const Budget& inner) noexcept;

private:
    static constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

    void look();
    [[noreturn]] static void failStopped();
    void countOn() noexcept;
    std::uint64_t stepsTaken() const noexcept { return stepsBefore + (stretch - untilLook); }

    std::uint64_t stepLimit = 0;
    std::uint64_t memoryLimit = 0;
    const std::atomic<bool>* stopFlag = nullptr;

    std::uint64_t untilLook = never; // steps
    std::uint64_t stretch = never;   // what it counts down from
    std::uint64_t stepsBefore = 0;
    std::uint64_t bytesHeld = 0;
    std::uint64_t bytes = 0; // those included
};

} // namespace Marl
