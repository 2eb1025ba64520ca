// Memory that runs out on request. The program that links this has an operator new of its own,
// which counts what each thread asks for and gives back.
#pragma once

#include <gtest/gtest.h>

#include <concepts>
#include <new>

namespace Marl::Tests {

// What is to fail while an action runs: one allocation of the thread, counted from 1, or it and
// all behind it.
struct Shortage {
    int at;
    bool lasts;
};

enum class Outcome { NotReached, Unnoticed, Stopped };

// Begins a shortage on this thread; an allocation that is never reached ends it.
void runOutOfMemory(const Shortage& shortage);

// Ends the shortage. Whether anything had failed.
bool endShortage();

// How many allocations of this thread live, and how much they hold.
long liveAllocations();
long liveBytes();

// Stopped when std::bad_alloc came out of the action; any other exception is let through.
Outcome during(const Shortage& shortage, const std::invocable auto& action)
{
    runOutOfMemory(shortage);
    try {
        action();
    } catch (const std::bad_alloc&) {
        endShortage();
        return Outcome::Stopped;
    } catch (...) {
        endShortage();
        throw;
    }
    return endShortage() ? Outcome::Unnoticed : Outcome::NotReached;
}

// Lets the first allocation fail, then the second, and so on until a round does not reach its
// shortage. No round may keep memory. How many allocations can fail.
int atEveryAllocation(const std::invocable<Shortage> auto& round)
{
    int failing = 0;
    for (const bool lasts : {false, true})
        for (int at = 1;; ++at, ++failing) {
            const long before = liveAllocations();
            const Outcome outcome = round(Shortage{at, lasts});
            if (!testing::Test::HasFailure()) { // whose report takes memory too
                EXPECT_EQ(liveAllocations() - before, 0) << "kept when allocation " << at << " failed";
            }
            if (outcome == Outcome::NotReached)
                break;
        }
    return failing;
}

} // namespace Marl::Tests
