// The storage of a column.
#pragma once

#include <marl/compiled/column.h>
#include <marl/compiled/detail/registers.h>
#include <marl/compiled/detail/result.h>

#include <cstddef>
#include <memory>
#include <optional>
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

    // Forgets the last batch.
    void begin(std::size_t times)
    {
        count = times;
        kind.reset();
        results.clear();
    }

    std::size_t count = 0;
    std::optional<ValueType> kind;
    std::unique_ptr<std::byte[]> plain; // of a plain kind: its records
    std::size_t capacity = 0;
    std::vector<Result> results; // of every other column
};

} // namespace Marl
