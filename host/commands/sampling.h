// Evaluating properties over many times.
#pragma once

#include <host/commands/failure_report.h>
#include <host/output/track.h>
#include <host/scene/deep_stack.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <list>
#include <map>
#include <mutex>
#include <span>
#include <vector>

namespace Marl::Host {

// Shares the times out among threads. The values are the same bits however many there are.
class Sampling {
public:
    // Borrows the properties and times. Values that are no records are kept as what `text` makes of them.
    Sampling(std::span<const SceneProperty> what, std::span<const double> when, bool hold,
             std::string (*text)(const Value&));
    // Waits for threads that are still at work.
    ~Sampling();
    Sampling(const Sampling&) = delete;
    Sampling& operator=(const Sampling&) = delete;

    // Evaluates until all is done, or until the InterruptWatch notes Ctrl-C; then threads may still
    // be at work on their last times, which no longer count. Throws what is no failure of a property.
    void run(int jobs);

    // What came out at the first times, by property.
    std::size_t finished = 0;
    std::vector<Track> tracks;
    std::vector<Failures> failures;

private:
    // Neighboring times: the values of all properties at the first, then those at the next, and so on.
    struct Block {
        std::size_t begin;
        std::size_t count;
        Track values;
        std::map<std::size_t, Failures> failures;
    };
    void work();
    void fill(Block& block) const;
    void deliver(Block&& block);
    void append(const Block& block);

    const std::span<const SceneProperty> properties;
    const std::span<const double> times;
    const bool holdsKeys;
    std::string (*const textOfValue)(const Value&);

    std::atomic<bool> stops = false;
    std::mutex mutex; // guards the rest, and the results
    std::condition_variable changed;
    std::size_t next = 0;
    std::size_t blockSize = 1;
    std::map<std::size_t, Block> waiting; // for those before them
    int working = 0;
    bool isClosed = false;
    std::exception_ptr trouble;
    std::list<DeepThread> threads;
};

} // namespace Marl::Host
