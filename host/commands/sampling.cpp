#include <host/commands/sampling.h>

#include <host/analysis/evaluation.h>
#include <host/commands/interrupt.h>
#include <host/commands/progress.h>

#include <algorithm>
#include <chrono>

namespace Marl::Host {

using namespace std::chrono_literals;

Sampling::Sampling(std::span<const SceneProperty> what, std::span<const double> when, bool hold,
                   std::string (*text)(const Value&))
    : failures(what.size()), properties(what), times(when), holdsKeys(hold), textOfValue(text)
{
    for (const SceneProperty& property : properties)
        tracks.emplace_back(property.name(), text);
}

Sampling::~Sampling()
{
    stops = true;
    threads.clear();
}

void Sampling::run(int jobs)
{
    Progress progress;
    std::unique_lock lock(mutex);
    for (working = 0; working < jobs; ++working)
        threads.emplace_back([this] { work(); });
    while (working > 0 && !InterruptWatch::isInterrupted()) {
        changed.wait_for(lock, 100ms);
        progress.show(finished, times.size());
    }
    // A time that takes long is not waited for.
    stops = true;
    changed.wait_for(lock, 100ms, [this] { return working == 0; });
    isClosed = true;
    if (trouble)
        std::rethrow_exception(trouble);
}

void Sampling::work()
{
    std::unique_lock lock(mutex);
    try {
        while (next < times.size() && !stops) {
            Block block{next, std::min(blockSize, times.size() - next), Track({}, textOfValue), {}};
            next += block.count;
            lock.unlock();
            const auto begin = std::chrono::steady_clock::now();
            fill(block);
            const auto taken = std::chrono::steady_clock::now() - begin;
            lock.lock();
            if (taken < 5ms)
                blockSize = std::min<std::size_t>(2 * blockSize, 4096);
            else if (taken > 20ms)
                blockSize = std::max<std::size_t>(blockSize / 2, 1);
            if (!isClosed)
                deliver(std::move(block));
        }
    } catch (...) {
        if (!lock)
            lock.lock();
        trouble = std::current_exception();
        stops = true;
    }
    --working;
    changed.notify_all();
}

void Sampling::fill(Block& block) const
{
    for (std::size_t row = 0; row < block.count; ++row) {
        if (stops) {
            block.count = row;
            return;
        }
        const Moment moment{times[block.begin + row], holdsKeys};
        for (std::size_t p = 0; p < properties.size(); ++p)
            try {
                block.values.add(evaluate(properties[p], moment));
            } catch (const Exception&) {
                block.values.addMissing();
                block.failures[p].add({1, moment.time, std::current_exception()});
            }
    }
}

void Sampling::deliver(Block&& block)
{
    waiting.emplace(block.begin, std::move(block));
    while (!waiting.empty() && waiting.begin()->first == finished) {
        append(waiting.begin()->second);
        waiting.erase(waiting.begin());
    }
}

void Sampling::append(const Block& block)
{
    std::size_t value = 0;
    for (std::size_t row = 0; row < block.count; ++row)
        for (Track& track : tracks)
            track.append(block.values, value++);
    for (const auto& [property, failed] : block.failures)
        failures[property].add(failed);
    finished += block.count;
}

} // namespace Marl::Host
