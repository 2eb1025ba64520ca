// The storage of a column.
#pragma once

#include <marl/compiled/column.h>
#include <marl/compiled/detail/registers.h>
#include <marl/compiled/detail/result.h>
#include <marl/value/detail/footprint.h>
#include <marl/visitor/budget.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace Marl {

struct Column::Data {
    // Room for so many bytes, which keeps what it is between batches.
    std::byte* room(std::size_t bytes)
    {
        if (bytes > capacity) {
            capacity = 0;
            plain = std::make_unique_for_overwrite<std::byte[]>(bytes);
            capacity = bytes;
        }
        return plain.get();
    }

    template <typename Record>
    Record* records() const
    {
        return reinterpret_cast<Record*>(plain.get());
    }

    void add(Result&& result, Budget& budget)
    {
        if (budget.limitsMemory()) {
            const std::uint64_t bytes = allBytesOf(result.getValue());
            budget.hold(bytes);
            bytesHeld += bytes;
        }
        results.push_back(std::move(result));
    }

    // Forgets the last batch.
    void begin(std::size_t times, Budget& budget)
    {
        budget.letGo(std::exchange(bytesHeld, 0));
        count = times;
        kind.reset();
        results.clear();
    }

    std::size_t count = 0;
    std::optional<ValueType> kind;
    std::unique_ptr<std::byte[]> plain; // of a plain kind: its records
    std::size_t capacity = 0;
    std::uint64_t bytesHeld = 0; // by results, where memory is limited
    std::vector<Result> results; // of every other column
};

} // namespace Marl
