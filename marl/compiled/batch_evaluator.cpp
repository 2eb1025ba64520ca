// Batches, their blocks, and what typed stretches need of each other.
#include <marl/compiled/batch_evaluator.h>

#include <marl/compiled/detail/machine.h>
#include <marl/value/detail/arithmetic_environment.h>
#include <marl/value/detail/failures.h>

#include <algorithm>
#include <type_traits>
#include <utility>
#include <variant>

namespace Marl {

BatchEvaluator::BatchEvaluator(const CompiledExpressions& compiled)
    : machines(std::make_unique<Machines>(*compiled.compilation))
{}

BatchEvaluator::~BatchEvaluator() = default;
BatchEvaluator::BatchEvaluator(BatchEvaluator&&) noexcept = default;
BatchEvaluator& BatchEvaluator::operator=(BatchEvaluator&&) noexcept = default;

void BatchEvaluator::setDontInterpolate(unsigned int hold)
{
    machines->set(&EvaluationSettings::dontInterpolate, hold);
}

void BatchEvaluator::setDepthLimit(int levels)
{
    machines->set(&EvaluationSettings::depthLimit, levels);
}

void BatchEvaluator::setStepLimit(std::uint64_t steps)
{
    machines->budget.setStepLimit(steps);
}

void BatchEvaluator::setMemoryLimit(std::uint64_t bytes)
{
    machines->budget.setMemoryLimit(bytes);
}

void BatchEvaluator::setStopFlag(const std::atomic<bool>* flag)
{
    machines->budget.setStopFlag(flag);
}

void BatchEvaluator::evaluate(std::span<const double> times)
{
    const ArithmeticEnvironment standard;
    machines->evaluate(times);
}

const Column& BatchEvaluator::column(std::size_t expression) const
{
    return machines->columns[expression];
}

Value BatchEvaluator::valueAt(double time, std::size_t expression)
{
    const ArithmeticEnvironment standard;
    return machines->valueAt(time, expression);
}

BatchEvaluator::Machines::Machines(const Compilation& compiled)
    : columns(compiled.roots.size()), compilation(&compiled), roots(compiled.roots.data()), version(compiled.version),
      machines(compiled.parts.size()), columnPlaces(compiled.roots.size())
{
    settings.budget = &budget;
    if (version == 0 && !machines.empty())
        makeReady(0);
    first = machines.empty() ? nullptr : machines.front().get();
}

// Gives up the machines of programs that an update has taken out of use.
void BatchEvaluator::Machines::catchUp()
{
    machines.resize(compilation->parts.size());
    for (std::size_t i = 0; i < machines.size(); ++i)
        if (machines[i] && !machines[i]->runs(compilation->parts[i].program.get()))
            machines[i].reset();
    version = compilation->version;
}

void BatchEvaluator::Machines::makeReady(std::size_t part)
{
    if (version != compilation->version)
        catchUp();
    if (!machines[part])
        machines[part] = std::make_unique<Machine>(compilation->parts[part].program, settings);
}

// A function of its own, so that evaluation without updates saves no registers for it.
[[gnu::noinline]] Value BatchEvaluator::Machines::valueAfterUpdate(double time, const CompiledRoot& root)
{
    if (version != compilation->version || !machines[root.part])
        makeReady(root.part);
    return machines[root.part]->valueAt(time, root);
}

void BatchEvaluator::Machines::evaluate(std::span<const double> times)
{
    for (std::size_t part = 0; part < compilation->parts.size(); ++part)
        if (compilation->parts[part].program) {
            makeReady(part);
            machines[part]->beginBatch();
        }
    prepareColumns(times.size());
    const std::size_t step = kernels().timesAtOnce;
    for (std::size_t start = 0; start < times.size(); start += blockLength) {
        const std::size_t count = std::min(blockLength, times.size() - start);
        Block block{times.data() + start, start, count, (count + step - 1) / step * step, columnPlaces.data()};
        if (block.end > count) {
            std::copy_n(block.times, count, paddedTimes);
            std::fill(paddedTimes + count, paddedTimes + block.end, block.times[count - 1]);
            block.times = paddedTimes;
        }
        evaluateBlock(block);
    }
    finishColumns();
}

void BatchEvaluator::Machines::prepareColumns(std::size_t count)
{
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const CompiledRoot& root = roots[i];
        columns[i].data->begin(count, budget);
        if (count > 0)
            machines[root.part]->prepare(root, *columns[i].data);
    }
}

void BatchEvaluator::Machines::evaluateBlock(const Block& block)
{
    for (const auto& machine : machines)
        if (machine)
            machine->begin(block);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const CompiledRoot& root = roots[i];
        machines[root.part]->evaluate(root, *columns[i].data, block, columnPlaces[i]);
        budget.lookAtStopFlag();
    }
}

BatchEvaluator::Machine::Machine(std::shared_ptr<const CompiledProgram> compiled, const EvaluationSettings& settings)
    : EvaluationSettings(settings), program(std::move(compiled)),
      registers(std::make_unique_for_overwrite<std::byte[]>(program->registersSize)),
      states(program->stretches.size()), kept(program->genericStretches.size())
{
    typed.registers = registers.get();
    typed.stretches = program->stretches.data();
    typed.states = states.data();
    typed.budget = budget;
}

// What an earlier evaluation that did not end has left is forgotten.
void BatchEvaluator::Machine::beginBatch()
{
    ++batch;
    typed.holds = dontInterpolate != 0;
    if (bytesKeptForBatch > 0)
        budget->letGo(std::exchange(bytesKeptForBatch, 0));
    typedFrames.clear();
    stack.clear();
    for (const GenericFrame& frame : genericFrames)
        kept[frame.stretch].isActive = false;
    genericFrames.clear();
}

void BatchEvaluator::Machine::beginBlock(const double* times, std::size_t count)
{
    ++typed.block;
    if (bytesKeptForBlock > 0)
        budget->letGo(std::exchange(bytesKeptForBlock, 0));
    typed.times = times;
    typed.count = count;
}

Value BatchEvaluator::Machine::valueAt(double time, const CompiledRoot& root)
{
    oneTime = time;
    typed.times = &oneTime;
    typed.count = 1;
    if (root.isAlone && !isWalked(root)) {
        typed.holds = dontInterpolate != 0;
        program->kernels->runAtOneTime(typed, root.instruction, 0);
        return Value(typed.number);
    }
    beginBatch();
    beginBlock(&oneTime, 1);
    genericTime = 0;
    Result result;
    if (isWalked(root)) {
        result = walked(root.expression);
    } else if (root.source.where == Source::Where::Constant) {
        return constantValue(root.source.index);
    } else if (root.source.where == Source::Where::Typed) {
        computeTyped(root.source.index, true, 0);
        return root.fillsColumn ? Value(typed.number) : typedValue(root.source.index, 0);
    } else {
        result = evaluateGeneric(root.source.index, 0);
    }
    if (result.isFailure())
        result.rethrow();
    return result.getValue();
}

void BatchEvaluator::Machine::begin(const Block& block)
{
    typed.columns = block.columnPlaces;
    typed.end = block.end;
    beginBlock(block.times, block.count);
}

void BatchEvaluator::Machine::prepare(const CompiledRoot& root, Column::Data& column) const
{
    if (isWalked(root) || root.source.where == Source::Where::Generic) {
        column.results.reserve(root.varies || isWalked(root) ? column.count : 1);
    } else if (root.source.where == Source::Where::Constant) {
        fillConstant(column, program->constants[root.source.index]);
    } else {
        constexpr ValueType kinds[typedKinds] = {ValueType::Double, ValueType::Vector, ValueType::Matrix,
                                                 ValueType::Color,  ValueType::AColor, ValueType::Transform};
        constexpr std::size_t sizes[typedKinds] = {sizeof(double), sizeof(TracePoint), sizeof(Matrix),
                                                   sizeof(Color),  sizeof(AColor),     sizeof(TraceTransform)};
        const std::size_t step = program->kernels->timesAtOnce;
        const std::size_t room = (column.count + step - 1) / step * step;
        column.room(room * sizes[static_cast<int>(root.kind)]);
        column.kind = kinds[static_cast<int>(root.kind)];
    }
}

void BatchEvaluator::Machine::fillConstant(Column::Data& column, const Plain& value)
{
    std::visit(
        [&]<typename Record>(const Record& record) {
            column.room(column.count * sizeof(Record));
            std::uninitialized_fill_n(column.records<Record>(), column.count, record);
            column.kind = Value(record).kind();
        },
        value);
}

void BatchEvaluator::Machine::evaluate(const CompiledRoot& root, Column::Data& column, const Block& block,
                                       double*& columnPlace)
{
    const bool atOneTime = block.count == 1;
    if (isWalked(root)) {
        for (std::size_t time = 0; time < block.count; ++time) {
            genericTime = time;
            column.add(walked(root.expression), *budget);
        }
    } else if (root.source.where == Source::Where::Generic) {
        for (std::size_t time = 0; time < (root.varies ? block.count : block.start == 0 ? 1 : 0); ++time)
            column.add(evaluateGeneric(root.source.index, time), *budget);
    } else if (root.source.where == Source::Where::Typed) {
        if (root.fillsColumn)
            columnPlace = column.records<double>() + block.start;
        if (root.isAlone && !atOneTime)
            return program->kernels->runAtTimes(typed, root.instruction, 0);
        computeTyped(root.source.index, atOneTime, 0);
        if (root.fillsColumn && atOneTime)
            *columnPlace = typed.number;
        if (!root.fillsColumn)
            copyToColumn(program->stretches[root.source.index], column, block.start);
    }
}

namespace {

template <Form form>
void copied(std::byte* place, std::size_t count, RecordOf<form>* records)
{
    const Arrays<form> arrays(place);
    for (std::size_t i = 0; i < count; ++i)
        records[i] = arrays.at(i);
}

} // namespace

void BatchEvaluator::Machine::copyToColumn(const Stretch& stretch, Column::Data& column, std::size_t start)
{
    std::byte* place = registers.get() + stretch.result;
    const auto copy = [&]<Form form>(std::integral_constant<Form, form>) {
        copied<form>(place, typed.count, column.records<RecordOf<form>>() + start);
    };
    // clang-format off
    switch (stretch.form) {
    case Form::Number:     return copy(std::integral_constant<Form, Form::Number>());
    case Form::Vector:     return copy(std::integral_constant<Form, Form::Vector>());
    case Form::WideVector: return copy(std::integral_constant<Form, Form::WideVector>());
    case Form::Matrix:     return copy(std::integral_constant<Form, Form::Matrix>());
    case Form::Color:      return copy(std::integral_constant<Form, Form::Color>());
    case Form::AColor:     return copy(std::integral_constant<Form, Form::AColor>());
    case Form::Transform:  return copy(std::integral_constant<Form, Form::Transform>());
    }
    // clang-format on
}

template <typename Record>
void BatchEvaluator::Machines::finishAs(Column::Data& column, Record (Value::*get)() const)
{
    column.room(column.count * sizeof(Record));
    const std::size_t last = column.results.size() - 1;
    for (std::size_t i = 0; i < column.count; ++i)
        std::construct_at(column.records<Record>() + i, (column.results[std::min(i, last)].getValue().*get)());
    column.results.clear();
}

// Columns whose values turn out to be of one kind say so, and lie in plain arrays where the kind is plain.
void BatchEvaluator::Machines::finishColumns()
{
    for (Column& each : columns) {
        Column::Data& column = *each.data;
        if (column.results.empty())
            continue;
        const auto kindOf = [](const Result& result) { return result.getValue().kind(); };
        const ValueType kind = kindOf(column.results[0]);
        const bool isUniform = std::ranges::all_of(column.results, [&](const Result& result) {
            return !result.isFailure() && result.getKind() != Result::Kind::Nothing && kindOf(result) == kind;
        });
        if (!isUniform)
            continue;
        switch (kind) {
        case ValueType::Double: finishAs(column, &Value::getDouble); break;
        case ValueType::Vector: finishAs(column, &Value::getTracePoint); break;
        case ValueType::Matrix: finishAs(column, &Value::getMatrix); break;
        case ValueType::Color: finishAs(column, &Value::getColor); break;
        case ValueType::AColor: finishAs(column, &Value::getAColor); break;
        case ValueType::Transform: finishAs(column, &Value::getTransform); break;
        default: break;
        }
        column.kind = kind;
    }
}

// What is nested too deeply for the limit, or may be, is left to a walk, which knows at what it fails.
Result BatchEvaluator::Machine::walked(ExpressionAST* expression)
{
    budget->begin();
    try {
        if (!expression)
            failIncomplete();
        return walk(expression);
    } catch (const Exception& failure) {
        return failureOf(failure);
    }
}

void BatchEvaluator::Machine::computeTyped(std::uint32_t index, bool atOneTime, std::size_t position)
{
    const auto stretch = static_cast<std::int32_t>(index);
    const Stretch& wanted = program->stretches[index];
    if (!wanted.needsOthers && typedFrames.empty()) {
        if (!typed.isDone(stretch, position, atOneTime)) {
            run(&program->instructions[wanted.firstInstruction], position, atOneTime);
            markDone({stretch, nullptr, atOneTime, position, 0});
        }
        return;
    }
    if (typed.isDone(stretch, position, atOneTime))
        return;
    typedFrames.push_back({stretch, &program->instructions[wanted.firstInstruction], atOneTime, position, 0});
    while (!typedFrames.empty()) {
        budget->lookAtStopFlag();
        const TypedFrame frame = typedFrames.back();
        typed.progress = frame.progress;
        run(frame.instruction, frame.position, frame.atOneTime);
        if (typed.needed == KeySource::none) {
            markDone(frame);
            typedFrames.pop_back();
            continue;
        }
        typedFrames.back().instruction = typed.resume;
        typedFrames.back().progress = typed.progress;
        const Stretch& needed = program->stretches[static_cast<std::size_t>(typed.needed)];
        typedFrames.push_back({typed.needed, &program->instructions[needed.firstInstruction], typed.neededAtOneTime,
                               typed.neededAtOneTime ? typed.neededAt : 0, 0});
    }
}

void BatchEvaluator::Machine::run(const Instruction* instruction, std::size_t position, bool atOneTime)
{
    const auto run = atOneTime ? program->kernels->runAtOneTime : program->kernels->runAtTimes;
    run(typed, instruction, position);
}

void BatchEvaluator::Machine::markDone(const TypedFrame& frame)
{
    StretchState& state = states[static_cast<std::size_t>(frame.stretch)];
    if (!frame.atOneTime || typed.count == 1) {
        state.wholeBlock = typed.block;
        return;
    }
    if (std::exchange(state.someTimes, typed.block) != typed.block)
        std::ranges::fill(state.done, 0);
    state.done[frame.position / 64] |= std::uint64_t(1) << (frame.position % 64);
}

Value BatchEvaluator::Machine::constantValue(std::uint32_t constant) const
{
    return std::visit([](const auto& record) { return Value(record); }, program->constants[constant]);
}

Value BatchEvaluator::Machine::typedValue(std::uint32_t index, std::size_t time) const
{
    const Stretch& stretch = program->stretches[index];
    std::byte* place = registers.get() + stretch.result;
    // clang-format off
    switch (stretch.form) {
    case Form::Number:     return Arrays<Form::Number>(place).at(time);
    case Form::Vector:     return Arrays<Form::Vector>(place).at(time);
    case Form::WideVector: return Arrays<Form::WideVector>(place).at(time);
    case Form::Matrix:     return Arrays<Form::Matrix>(place).at(time);
    case Form::Color:      return Arrays<Form::Color>(place).at(time);
    case Form::AColor:     return Arrays<Form::AColor>(place).at(time);
    case Form::Transform:  return Arrays<Form::Transform>(place).at(time);
    }
    // clang-format on
    return Value();
}

} // namespace Marl
