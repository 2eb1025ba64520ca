// The values of one expression at all times of a batch.
#pragma once

#include <marl/api.h>
#include <marl/value/value.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

namespace Marl {

// Plain arrays, one entry a time, in the order of the times. A column belongs to its evaluator: what it
// hands out is valid until that evaluates the next batch or ends.
class MARL_API Column {
public:
    Column();
    Column(Column&&) noexcept;
    Column& operator=(Column&&) noexcept;
    ~Column();

    std::size_t size() const;

    // The kind that all values have; nothing when they differ, when one failed or is missing, or without times.
    std::optional<ValueType> kind() const;

    // Empty for a column of another kind.
    std::span<const double> numbers() const;
    std::span<const TracePoint> vectors() const;
    std::span<const Color> colors() const;
    std::span<const AColor> acolors() const;
    std::span<const Matrix> matrices() const;
    std::span<const TraceTransform> transforms() const;

    // The value at the i-th time; throws what the walk throws at that time. An expression that leaves no
    // value gives an undefined one, as getResult() does. Texts and lists share their storage with other
    // times and are only read.
    Value valueAt(std::size_t i) const;

    // Whether valueAt() throws.
    bool failed(std::size_t i) const;

private:
    friend class BatchEvaluator;
    struct Data;
    template <typename Record>
    std::span<const Record> all(ValueType kind) const;

    std::unique_ptr<Data> data;
};

} // namespace Marl
