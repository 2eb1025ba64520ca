#include <marl/compiled/column.h>

#include <marl/compiled/detail/column_data.h>

namespace Marl {

Column::Column() : data(std::make_unique<Data>()) {}
Column::Column(Column&&) noexcept = default;
Column& Column::operator=(Column&&) noexcept = default;
Column::~Column() = default;

std::size_t Column::size() const
{
    return data->count;
}

std::optional<ValueType> Column::kind() const
{
    return data->kind;
}

template <typename Record>
std::span<const Record> Column::all(ValueType kind) const
{
    return data->kind == kind ? std::span<const Record>(data->records<Record>(), data->count)
                              : std::span<const Record>();
}

// clang-format off
std::span<const double> Column::numbers() const            { return all<double>(ValueType::Double); }
std::span<const TracePoint> Column::vectors() const        { return all<TracePoint>(ValueType::Vector); }
std::span<const Color> Column::colors() const              { return all<Color>(ValueType::Color); }
std::span<const AColor> Column::acolors() const            { return all<AColor>(ValueType::AColor); }
std::span<const Matrix> Column::matrices() const           { return all<Matrix>(ValueType::Matrix); }
std::span<const TraceTransform> Column::transforms() const { return all<TraceTransform>(ValueType::Transform); }
// clang-format on

Value Column::valueAt(std::size_t i) const
{
    switch (data->kind.value_or(ValueType::Undefined)) {
    case ValueType::Double: return Value(numbers()[i]);
    case ValueType::Vector: return Value(vectors()[i]);
    case ValueType::Matrix: return Value(matrices()[i]);
    case ValueType::Color: return Value(colors()[i]);
    case ValueType::AColor: return Value(acolors()[i]);
    case ValueType::Transform: return Value(transforms()[i]);
    default: break;
    }
    const Result& result = data->results.size() == 1 ? data->results[0] : data->results[i];
    if (result.isFailure())
        result.rethrow();
    return result.getValue();
}

bool Column::failed(std::size_t i) const
{
    if (data->results.empty())
        return false;
    return (data->results.size() == 1 ? data->results[0] : data->results[i]).isFailure();
}

} // namespace Marl
