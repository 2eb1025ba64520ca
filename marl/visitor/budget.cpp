#include <marl/visitor/budget.h>

#include <marl/value/detail/failures.h>

#include <algorithm>

namespace Marl {

namespace {

constexpr std::uint64_t stepsBetweenLooks = 1024; // at the flag: some tens of microseconds

}

void Budget::begin() noexcept
{
    stepsBefore = 0;
    bytes = bytesHeld;
    countOn();
}

void Budget::countOn() noexcept
{
    stretch = stepLimit == 0 ? never : stepLimit - std::min(stepsBefore, stepLimit) + 1;
    if (stopFlag)
        stretch = std::min(stretch, stepsBetweenLooks);
    untilLook = stretch;
}

void Budget::look()
{
    stepsBefore = stepsTaken();
    countOn();
    if (stepLimit != 0 && stepsBefore > stepLimit)
        fail("Evaluation takes too many steps.");
    lookAtStopFlag();
}

void Budget::takeMemory(std::uint64_t more)
{
    if (memoryLimit == 0)
        return;
    if (more > memoryLimit || bytes > memoryLimit - more)
        fail("Values take too much memory.");
    bytes += more;
}

void Budget::failStopped()
{
    fail("Evaluation was stopped.");
}

Budget Budget::rest() const noexcept
{
    Budget inner = *this;
    if (stepLimit != 0)
        inner.stepLimit = stepLimit - std::min(stepsTaken(), stepLimit - 1);
    inner.bytesHeld = bytes;
    inner.begin();
    return inner;
}

void Budget::take(const Budget& inner) noexcept
{
    stepsBefore = stepsTaken() + inner.stepsTaken();
    bytes = inner.bytes;
    countOn();
}

} // namespace Marl
