// Evaluating properties over many times.
#pragma once

#include <host/analysis/limits.h>
#include <host/commands/failure_report.h>
#include <host/output/track.h>
#include <host/scene/deep_stack.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

namespace Marl::Host {

// Shares the times out among threads, and the properties where there are few times. The values are the
// same bits however many threads there are.
class Sampling {
public:
    // Borrows the properties and times. Values that are no records are kept as what `text` makes of them.
    Sampling(std::span<const SceneProperty> what, std::span<const double> when, bool hold, const Limits& limits,
             std::string (*text)(const Value&));
    // Waits for threads that are still at work.
    ~Sampling();
    Sampling(const Sampling&) = delete;
    Sampling& operator=(const Sampling&) = delete;

    // Evaluates until all is done, or until the InterruptWatch notes Ctrl-C; then a thread may still be at
    // work on a step that takes long, which no longer counts. Throws what is no failure of a property.
    void run(int jobs);

    // What came out at the first times, by property.
    std::size_t finished = 0;
    std::vector<Track> tracks;
    std::vector<Failures> failures;

private:
    // Neighboring times.
    struct Block {
        std::size_t begin, count;
    };
    // What a group came to at a block.
    struct Part {
        Track values; // of its first property at all times, then of the next
        std::map<std::size_t, Failures> failures;
    };
    // Neighboring properties. What they share is computed once; what two groups share, in both.
    struct Group {
        std::size_t begin = 0, count = 0;
        std::mutex compiling;
        std::optional<CompiledExpressions> compiled;
        std::size_t next = 0;                // block
        std::map<std::size_t, Part> waiting; // by block, for earlier ones or other groups
    };
    void divide(std::size_t jobs);
    void work(Group& group);
    void compile(Group& group) const;
    std::optional<std::size_t> takeBlock(Group& group);
    void adaptBlockSize(const Block& block, std::chrono::steady_clock::duration taken);
    Part evaluate(const Group& group, const Block& block, BatchEvaluator& evaluator) const;
    void deliver(Group& group, std::size_t block, Part&& part);
    void append(const Group& group, const Block& block, const Part& part);

    const std::span<const SceneProperty> properties;
    const std::span<const double> times;
    const bool holdsKeys;
    const Limits limits;
    std::string (*const textOfValue)(const Value&);

    std::atomic<bool> stops = false;
    std::mutex mutex; // guards the rest but what is compiled, and the results
    std::condition_variable changed;
    std::vector<Group> groups;
    std::vector<Block> blocks; // as far as a group has come to them; the same for all
    std::size_t blockSize = 1;
    std::size_t blocksFinished = 0;
    int working = 0;
    bool isClosed = false;
    std::exception_ptr trouble;
    std::list<DeepThread> threads;
};

} // namespace Marl::Host
