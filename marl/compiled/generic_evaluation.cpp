// Generic stretches, one time after the other: what may fail, what asks the host, what changes its kind.
#include <marl/compiled/detail/machine.h>

#include <marl/ast/detail/builtins.h>
#include <marl/ast/detail/operations.h>
#include <marl/ast/function_expression.h>
#include <marl/compiled/detail/node_class.h>
#include <marl/value/array_hold.h>
#include <marl/value/detail/operators.h>
#include <marl/value/detail/truncation.h>
#include <marl/visitor/calculation_visitor.h>

#include <algorithm>
#include <cstring>
#include <typeinfo>
#include <utility>

namespace Marl {

namespace {

// A walk names the node itself, or says that a host's code did not.
bool isLeftToWalk(GenericTask task)
{
    return task == GenericTask::Visit || task == GenericTask::EvaluateSelected;
}

} // namespace

// A failure that is like the one before is that one.
Result BatchEvaluator::Machine::failureOf(const Exception& thrown)
{
    if (latestFailure.isFailure())
        try {
            latestFailure.rethrow();
        } catch (const Exception& before) {
            if (typeid(before) == typeid(thrown) && before.details() == thrown.details()
                && std::strcmp(before.what(), thrown.what()) == 0)
                return latestFailure;
        }
    latestFailure = Result::failed(std::current_exception());
    return latestFailure;
}

Result BatchEvaluator::Machine::walk(ExpressionAST* node) const
{
    CalculationVisitor walk;
    walk.budget = budget->rest();
    struct Taking {
        ~Taking() { whole.take(part); }
        Budget& whole;
        const Budget& part;
    } const taking{*budget, walk.budget}; // also where it fails
    walk.setTimeParam(typed.times[genericTime]);
    walk.setDontInterpolate(dontInterpolate);
    walk.setDepthLimit(depthLimit);
    node->accept(&walk);
    return walk.hasResult() ? Result(walk.getResult()) : Result();
}

Result BatchEvaluator::Machine::evaluateGeneric(std::uint32_t stretch, std::size_t time)
{
    genericTime = time;
    budget->begin();
    if (enter(stretch))
        runGeneric();
    Result result = std::move(stack.back());
    stack.pop_back();
    return result;
}

// False where the stretch's result is known; it lies on the stack then.
bool BatchEvaluator::Machine::enter(std::uint32_t index)
{
    const GenericStretch& stretch = program->genericStretches[index];
    if (stretch.isKept || !stretch.varies) {
        Kept& place = kept[index];
        if (place.numbers.empty()) {
            const std::size_t count = stretch.varies ? blockLength : 1;
            place.results.resize(count);
            place.numbers.resize(count);
        }
        const std::size_t slot = stretch.varies ? genericTime : 0;
        if (place.numbers[slot] == (stretch.varies ? typed.block : batch)) {
            takeMemory(place.results[slot]);
            stack.push_back(place.results[slot]);
            return false;
        }
        if (place.isActive)
            failCycle();
        genericFrames.push_back({index, &program->genericInstructions[stretch.firstInstruction]});
        place.isActive = true;
        return true;
    }
    genericFrames.push_back({index, &program->genericInstructions[stretch.firstInstruction]});
    return true;
}

void BatchEvaluator::Machine::leave(Result result)
{
    const std::uint32_t index = genericFrames.back().stretch;
    const GenericStretch& stretch = program->genericStretches[index];
    genericFrames.pop_back();
    if (stretch.isKept || !stretch.varies) {
        Kept& place = kept[index];
        const std::size_t slot = stretch.varies ? genericTime : 0;
        place.results[slot] = result;
        place.numbers[slot] = stretch.varies ? typed.block : batch;
        place.isActive = false;
        hold(stretch, result);
    }
    stack.push_back(std::move(result));
}

// What is kept counts for every evaluation that follows.
void BatchEvaluator::Machine::hold(const GenericStretch& stretch, const Result& result)
{
    if (!budget->limitsMemory())
        return;
    const std::uint64_t bytes = allBytesOf(result.getValue());
    budget->hold(bytes);
    (stretch.varies ? bytesKeptForBlock : bytesKeptForBatch) += bytes;
}

// Lists may be long, and so each is a chance to stop.
void BatchEvaluator::Machine::takeMemory(const Result& result)
{
    if (result.getKind() == Result::Kind::Value)
        budget->lookAtStopFlag();
    if (budget->limitsMemory())
        budget->takeMemory(allBytesOf(result.getValue()));
}

// Until the stretch that was entered last has left its result on the stack. A failure ends every stretch
// that waits for it.
void BatchEvaluator::Machine::runGeneric()
{
    const std::size_t outer = genericFrames.size() - 1, base = stack.size();
    while (genericFrames.size() > outer) {
        Result failure;
        const GenericInstruction& instruction = *genericFrames.back().instruction++;
        try {
            budget->takeStep();
            const std::size_t frames = genericFrames.size();
            if (instruction.task == GenericTask::Return) {
                Result result = std::move(stack.back());
                stack.pop_back();
                leave(std::move(result));
            } else {
                execute(instruction);
            }
            if (genericFrames.size() > frames || stack.empty() || !stack.back().isFailure())
                continue;
            failure = stack.back();
        } catch (Exception& thrown) {
            if (instruction.node && !isLeftToWalk(instruction.task))
                thrown.happenedAt(instruction.node, instruction.node->heldBy);
            failure = failureOf(thrown);
        }
        while (genericFrames.size() > outer) {
            leave(failure);
            stack.pop_back();
        }
        stack.resize(base);
        stack.push_back(failure);
    }
}

double BatchEvaluator::Machine::popNumber()
{
    const double number = stack.back().isNumber() ? stack.back().getNumber() : stack.back().getValue().getDouble();
    stack.pop_back();
    return number;
}

Value BatchEvaluator::Machine::popValue()
{
    Value value = stack.back().getValue();
    stack.pop_back();
    return value;
}

// A typed stretch that is needed in any case is computed for the whole block.
void BatchEvaluator::Machine::push(Source source, bool isSurelyNeeded)
{
    switch (source.where) {
    case Source::Where::Constant: stack.emplace_back(constantValue(source.index)); return;
    case Source::Where::Generic: enter(source.index); return;
    case Source::Where::Typed: {
        const bool atOneTime = typed.count == 1 || !isSurelyNeeded;
        computeTyped(source.index, atOneTime, atOneTime ? genericTime : 0);
        stack.emplace_back(typedValue(source.index, genericTime));
    }
    }
}

void BatchEvaluator::Machine::operate(TOKENTYPE op)
{
    const Result right = std::move(stack.back());
    stack.pop_back();
    Result& left = stack.back();
    if (left.isNumber() && right.isNumber()) {
        double number = left.getNumber();
        if (Marl::operate(op, number, right.getNumber())) {
            left = number;
            return;
        }
    }
    Value value = left.getValue();
    Marl::operate(op, value, right.getValue());
    left = Result(std::move(value));
}

// The times may come in any order, some perhaps NaN: the first neighbors that have the time between them count.
void BatchEvaluator::Machine::bracketVarying(const GenericInstruction& instruction)
{
    const std::uint32_t count = instruction.count;
    const auto last = static_cast<std::uint32_t>(instruction.keys->sources.size() - 1);
    const double time = typed.times[genericTime];
    std::vector<double> times(count);
    for (std::uint32_t i = count; i-- > 0;)
        times[i] = popNumber();
    Result found = Result::bracket(0, Result::noKey, 0);
    if (count > 1 && time > times[0]) {
        if (time >= times[count - 1]) {
            found = Result::bracket(last, Result::noKey, 0);
        } else {
            std::uint32_t later = 1;
            while (!(time >= times[later - 1] && !(time >= times[later])))
                ++later;
            found = typed.holds ? Result::bracket(later - 1, Result::noKey, 0)
                                : Result::bracket(later - 1, later, share(times[later - 1], time, times[later]));
        }
    }
    stack.push_back(std::move(found));
}

// An element of a data list, or of a host's node, is not among what was compiled.
void BatchEvaluator::Machine::evaluateSelected()
{
    ExpressionAST* selected = stack.back().getNode();
    stack.pop_back();
    const auto element = program->elements.find(selected);
    if (element != program->elements.end())
        return push(element->second, false);
    if (classOf(*selected) == NodeClass::Number)
        stack.emplace_back(static_cast<NumberExpressionAST*>(selected)->number);
    else
        stack.push_back(walk(selected));
}

void BatchEvaluator::Machine::execute(const GenericInstruction& instruction)
{
    switch (instruction.task) {
    case GenericTask::Push: return push(instruction.source, true);
    case GenericTask::PushTime: stack.emplace_back(typed.times[genericTime]); return;
    case GenericTask::PushUndefined: stack.emplace_back(Value()); return;
    case GenericTask::PushNothing: stack.emplace_back(); return;
    case GenericTask::PushNode: stack.emplace_back(instruction.node); return;
    case GenericTask::Visit: stack.push_back(walk(instruction.node)); return;
    case GenericTask::Fail: return instruction.failure();
    case GenericTask::RequireValue:
        if (stack.back().getKind() == Result::Kind::Nothing)
            failIncomplete();
        return;
    case GenericTask::RequireNumber:
        if (!stack.back().isNumber())
            numberOrThrow(stack.back().getValue(), instruction.complaint);
        return;
    case GenericTask::Operate: return operate(static_cast<BinaryExpressionAST*>(instruction.node)->op);
    case GenericTask::Negate: {
        Value value = popValue();
        changeSign(value);
        stack.emplace_back(std::move(value));
        return;
    }
    case GenericTask::Call: {
        const auto* function = static_cast<BuiltinFunctionAST*>(instruction.node);
        const auto number = [&](const char* complaint) { return numberOrThrow(popValue(), complaint); };
        const auto point = [&] { return popValue().getTracePoint(); };
        stack.emplace_back(call(*function, number, point));
        return;
    }
    case GenericTask::CallFunction: {
        std::vector<Value> arguments(instruction.count);
        for (std::uint32_t i = instruction.count; i-- > 0;)
            arguments[i] = popValue();
        auto* function = static_cast<FunctionExpressionAST*>(instruction.node);
        stack.emplace_back(function->call(arguments, {typed.times[genericTime], typed.holds}));
        takeMemory(stack.back());
        return budget->lookAtStopFlag();
    }
    case GenericTask::MakeVector: {
        const double z = popNumber(), y = popNumber(), x = popNumber();
        stack.emplace_back(Value(TracePoint{x, y, z}));
        return;
    }
    case GenericTask::MakeColor: {
        const double b = popNumber(), g = popNumber(), r = popNumber();
        stack.emplace_back(Value(Color{single(r), single(g), single(b)}));
        return;
    }
    case GenericTask::MakeAColor: {
        const double alpha = popNumber(), b = popNumber(), g = popNumber(), r = popNumber();
        stack.emplace_back(Value(AColor{single(r), single(g), single(b), single(alpha)}));
        return;
    }
    case GenericTask::MakeMatrix: {
        const Value third = popValue(), second = popValue(), first = popValue();
        stack.emplace_back(Value(Matrix(first.getVector(), second.getVector(), third.getVector())));
        return;
    }
    case GenericTask::MakeTransform: {
        const Value offset = popValue(), matrix = popValue();
        stack.emplace_back(Value(TraceTransform{matrix.getMatrix(), offset.getTracePoint()}));
        return;
    }
    case GenericTask::MakeList: {
        const int count = static_cast<ListExpressionAST*>(instruction.node)->itemCount;
        budget->takeMemory(sizeof(Value) * static_cast<std::uint64_t>(std::max(count, 0)));
        ArrayHold<Value> list(count);
        const std::size_t first = stack.size() - instruction.count;
        for (std::size_t i = 0; i < instruction.count && i < static_cast<std::size_t>(list->count); ++i)
            list[static_cast<int>(i)] = stack[first + i].getValue();
        stack.resize(first);
        stack.emplace_back(Value(*list));
        return;
    }
    case GenericTask::BracketKnown: {
        const Bracket found = bracketOf(*instruction.keys->times, typed.times[genericTime], typed.holds, 0);
        stack.push_back(Result::bracket(
            static_cast<std::uint32_t>(found.earlier),
            found.later == found.earlier ? Result::noKey : static_cast<std::uint32_t>(found.later), found.factor));
        return;
    }
    case GenericTask::BracketVarying: return bracketVarying(instruction);
    case GenericTask::PushEarlier: return push(instruction.keys->sources[stack.back().getEarlier()], false);
    case GenericTask::SkipUnlessBlend: {
        const std::size_t bracket = stack.size() - 2;
        if (!stack[bracket].hasLater()) {
            stack[bracket] = std::move(stack.back());
            stack.pop_back();
            genericFrames.back().instruction += instruction.count;
        }
        return;
    }
    case GenericTask::PushLater:
        return push(instruction.keys->sources[stack[stack.size() - 2].getEarlier() + 1], false);
    case GenericTask::Blend: {
        const Value later = popValue(), earlier = popValue();
        const double factor = stack.back().getNumber();
        stack.back() = Result(blended(earlier, later, factor));
        return;
    }
    case GenericTask::SelectElement: {
        const int position = truncated(popNumber());
        stack.back() = Result(elementAt(stack.back().getNode(), position));
        return;
    }
    case GenericTask::EvaluateSelected: return evaluateSelected();
    case GenericTask::Return: return;
    }
}

} // namespace Marl
