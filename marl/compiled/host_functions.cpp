// Calls of the host's functions with arguments that lie in registers.
#include <marl/compiled/detail/kernels.h>

#include <marl/ast/function_expression.h>

namespace Marl {

namespace {

template <typename Use>
void withArrays(Form form, std::byte* place, Use use)
{
    // clang-format off
    switch (form) {
    case Form::Number:     return use(Arrays<Form::Number>(place));
    case Form::Vector:     return use(Arrays<Form::Vector>(place));
    case Form::WideVector: return use(Arrays<Form::WideVector>(place));
    case Form::Matrix:     return use(Arrays<Form::Matrix>(place));
    case Form::Color:      return use(Arrays<Form::Color>(place));
    case Form::AColor:     return use(Arrays<Form::AColor>(place));
    case Form::Transform:  return use(Arrays<Form::Transform>(place));
    }
    // clang-format on
}

Value valueAt(Form form, std::byte* place, std::size_t time)
{
    Value value;
    withArrays(form, place, [&](const auto& arrays) { value = arrays.at(time); });
    return value;
}

// clang-format off
double         recordOf(const Value& value, double)         { return value.getDouble(); }
TracePoint     recordOf(const Value& value, TracePoint)     { return value.getTracePoint(); }
Matrix         recordOf(const Value& value, Matrix)         { return value.getMatrix(); }
Color          recordOf(const Value& value, Color)          { return value.getColor(); }
AColor         recordOf(const Value& value, AColor)         { return value.getAColor(); }
TraceTransform recordOf(const Value& value, TraceTransform) { return value.getTransform(); }
// clang-format on

void putValue(Form form, std::byte* place, std::size_t time, const Value& value)
{
    withArrays(form, place, [&](auto arrays) { arrays.put(time, recordOf(value, arrays.at(time))); });
}

FunctionBlock::Arrays arraysAt(Form form, std::byte* place, std::size_t position)
{
    constexpr int floats[] = {0, 3, 0, 9, 3, 4, 9};
    return {reinterpret_cast<float*>(place) + position,
            reinterpret_cast<double*>(place + static_cast<std::size_t>(floats[static_cast<int>(form)]) * floatsSize)
                + position};
}

} // namespace

void callTyped(const TypedFunction& typed, const Evaluation& e, std::uint32_t result, std::size_t position,
               std::size_t count)
{
    FunctionBlock::Arrays few[4];
    std::vector<FunctionBlock::Arrays> many;
    const std::size_t arity = typed.arguments.size();
    if (arity > std::size(few))
        many.resize(arity);
    FunctionBlock::Arrays* const arrays = many.empty() ? few : many.data();
    for (std::size_t i = 0; i < arity; ++i)
        arrays[i] = arraysAt(typed.arguments[i].form, e.registers + typed.arguments[i].place, position);
    const FunctionBlock block{.count = count,
                              .stride = blockLength,
                              .times = e.times + position,
                              .holdsKeys = e.holds,
                              .arguments = {arrays, arity},
                              .values = arraysAt(typed.form, e.registers + result, position)};
    if (typed.function->callBlock(block))
        return;
    std::vector<Value> arguments(arity);
    for (std::size_t time = position; time < position + count; ++time) {
        for (std::size_t i = 0; i < arity; ++i)
            arguments[i] = valueAt(typed.arguments[i].form, e.registers + typed.arguments[i].place, time);
        const Value value = typed.function->call(arguments, {e.times[time], e.holds});
        putValue(typed.form, e.registers + result, time, value);
    }
}

} // namespace Marl
