#include <host/commands/sampling.h>

#include <host/commands/interrupt.h>
#include <host/commands/progress.h>

#include <algorithm>

namespace Marl::Host {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

// With fewer times a job the properties are divided. A batch of so few costs hardly less than one of more.
constexpr std::size_t fewTimes = 16;

// What a thread holds at once: long enough for a batch to be worth it, short enough for the memory.
constexpr std::size_t leastInLargestBlock = 64, valuesInLargestBlock = 1 << 16;

// The value at the i-th time, or that there is none. Only of the first failure the exception is asked for.
void addValue(const Column& column, std::size_t i, double time, Track& values, Failures& failures)
{
    if (failures.count > 0 && column.failed(i)) {
        ++failures.count;
        values.addMissing();
        return;
    }
    try {
        values.add(column.valueAt(i));
    } catch (const Exception&) {
        values.addMissing();
        failures.add({1, time, std::current_exception()});
    }
}

} // namespace

Sampling::Sampling(std::span<const SceneProperty> what, std::span<const double> when, bool hold, const Limits& given,
                   std::string (*text)(const Value&))
    : failures(what.size()), properties(what), times(when), holdsKeys(hold), limits(given), textOfValue(text)
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
    divide(static_cast<std::size_t>(jobs));
    for (working = 0; working < jobs; ++working) {
        Group& group = groups[static_cast<std::size_t>(working) % groups.size()];
        threads.emplace_back([this, &group] { work(group); });
    }
    while (working > 0 && !InterruptWatch::isInterrupted()) {
        changed.wait_for(lock, 100ms);
        progress.show(finished, times.size());
    }
    // A time that takes long is not waited for.
    stops = true;
    changed.wait_for(lock, 100ms, [this] { return working == 0; });
    isClosed = true;
    if (working == 0)
        groups.clear(); // what was compiled is not needed for the writing
    if (trouble)
        std::rethrow_exception(trouble);
}

void Sampling::divide(std::size_t jobs)
{
    const bool hasFewTimes = times.size() < fewTimes * jobs;
    const std::size_t count = hasFewTimes ? std::clamp<std::size_t>(properties.size(), 1, jobs) : 1;
    groups = std::vector<Group>(count);
    for (std::size_t i = 0; i < count; ++i) {
        groups[i].begin = properties.size() * i / count;
        groups[i].count = properties.size() * (i + 1) / count - groups[i].begin;
    }
}

void Sampling::work(Group& group)
{
    std::unique_lock lock(mutex, std::defer_lock);
    try {
        compile(group);
        BatchEvaluator evaluator(*group.compiled);
        evaluator.setDontInterpolate(holdsKeys ? 1 : 0);
        limits.apply(evaluator, &stops);
        lock.lock();
        while (const std::optional<std::size_t> index = takeBlock(group)) {
            const Block block = blocks[*index];
            lock.unlock();
            const auto begin = Clock::now();
            Part part = evaluate(group, block, evaluator);
            const auto taken = Clock::now() - begin;
            lock.lock();
            adaptBlockSize(block, taken);
            if (!isClosed)
                deliver(group, *index, std::move(part));
        }
    } catch (...) {
        if (!lock)
            lock.lock();
        if (!stops.exchange(true)) // else it is that it was stopped
            trouble = std::current_exception();
    }
    --working;
    changed.notify_all();
}

// For all threads of the group, by the first of them.
void Sampling::compile(Group& group) const
{
    const std::lock_guard lock(group.compiling);
    if (group.compiled)
        return;
    std::vector<ExpressionAST*> expressions;
    for (const SceneProperty& property : properties.subspan(group.begin, group.count))
        expressions.push_back(property.property->expression);
    group.compiled.emplace(expressions);
}

std::optional<std::size_t> Sampling::takeBlock(Group& group)
{
    if (stops)
        return std::nullopt;
    if (group.next == blocks.size()) {
        const std::size_t begin = blocks.empty() ? 0 : blocks.back().begin + blocks.back().count;
        if (begin == times.size())
            return std::nullopt;
        blocks.push_back({begin, std::min(blockSize, times.size() - begin)});
    }
    return group.next++;
}

// Ctrl-C loses what is in work, so a block takes no longer than it must. By the block's own size, for other
// threads have adapted the size meanwhile.
void Sampling::adaptBlockSize(const Block& block, Clock::duration taken)
{
    const std::size_t most =
        std::max(leastInLargestBlock, valuesInLargestBlock / std::max<std::size_t>(properties.size(), 1));
    if (taken < 20ms)
        blockSize = std::max(blockSize, std::min(2 * block.count, most));
    else if (taken > 80ms)
        blockSize = std::min(blockSize, std::max<std::size_t>(block.count / 2, 1));
}

Sampling::Part Sampling::evaluate(const Group& group, const Block& block, BatchEvaluator& evaluator) const
{
    const auto when = times.subspan(block.begin, block.count);
    evaluator.evaluate(when);
    Part part{Track({}, textOfValue), {}};
    for (std::size_t p = 0; p < group.count; ++p) {
        const Column& column = evaluator.column(p);
        if (part.values.addRecords(column))
            continue;
        Failures failed;
        for (std::size_t i = 0; i < block.count; ++i)
            addValue(column, i, when[i], part.values, failed);
        if (failed.count > 0)
            part.failures.emplace(group.begin + p, failed);
    }
    return part;
}

// A block counts when all groups have delivered it, and all blocks before it.
void Sampling::deliver(Group& group, std::size_t block, Part&& part)
{
    group.waiting.emplace(block, std::move(part));
    const auto isThere = [this](const Group& each) { return each.waiting.contains(blocksFinished); };
    for (; std::ranges::all_of(groups, isThere); ++blocksFinished) {
        for (Group& each : groups)
            append(each, blocks[blocksFinished], each.waiting.extract(blocksFinished).mapped());
        finished += blocks[blocksFinished].count;
    }
}

void Sampling::append(const Group& group, const Block& block, const Part& part)
{
    std::size_t value = 0;
    for (std::size_t p = 0; p < group.count; ++p)
        for (std::size_t i = 0; i < block.count; ++i)
            tracks[group.begin + p].append(part.values, value++);
    for (const auto& [property, failed] : part.failures)
        failures[property].add(failed);
}

} // namespace Marl::Host
