// Instructions for typed nodes.
//
// A number travels in the accumulator to the one who needs it next; an operand that must wait is stored.
// Records lie in places of their own. Operands are computed from an explicit stack of frames.
#include <marl/compiled/detail/compiler.h>

#include <marl/ast/function_expression.h>
#include <marl/value/detail/functions.h>

#include <algorithm>
#include <new>
#include <utility>

namespace Marl {

namespace {

Form formOf(Typed kind)
{
    constexpr Form wideForms[] = {Form::Number, Form::WideVector, Form::Matrix,
                                  Form::Color,  Form::AColor,     Form::Transform};
    return wideForms[static_cast<int>(kind)];
}

int indexOf(auto code)
{
    return static_cast<int>(code);
}

std::optional<NumberRule> numberRule(TOKENTYPE op)
{
    switch (op) {
    case TOKEN_PLUS: return NumberRule::Sum;
    case TOKEN_MINUS: return NumberRule::Difference;
    case TOKEN_MULTIPLY: return NumberRule::Product;
    case TOKEN_DIVIDE: return NumberRule::Quotient;
    }
    return std::nullopt;
}

std::optional<Joined> wayToJoin(NumberRule rule, bool isRight)
{
    switch (rule) {
    case NumberRule::Sum: return Joined::Add;
    case NumberRule::Difference: return isRight ? Joined::Subtract : Joined::SubtractFrom;
    case NumberRule::Product: return Joined::Multiply;
    case NumberRule::Quotient:
    case NumberRule::Power: return std::nullopt;
    }
    return std::nullopt;
}

RecordRule recordRule(TOKENTYPE op)
{
    switch (op) {
    case TOKEN_PLUS: return RecordRule::Sum;
    case TOKEN_MINUS: return RecordRule::Difference;
    case TOKEN_MULTIPLY: return RecordRule::Product;
    case TOKEN_DIVIDE: return RecordRule::Quotient;
    }
    return RecordRule::Sum; // typed nodes have no other operator
}

Builtin functionOf(const GraphNode& node)
{
    return Builtin(static_cast<const BuiltinFunctionAST*>(node.expression)->functionId);
}

TOKENTYPE operatorOf(const GraphNode& node)
{
    return static_cast<const BinaryExpressionAST*>(node.expression)->op;
}

} // namespace

void Compiler::compileTyped(std::uint32_t index)
{
    const NodeIndex root = typedNodes[index];
    const auto first = static_cast<std::uint32_t>(program.instructions.size());
    addNeeds(root);
    const auto begin = static_cast<std::uint32_t>(program.instructions.size());

    const std::int32_t column = columnOf[index];
    const Form form = program.stretches[index].form;
    const std::uint32_t result = column >= 0 ? static_cast<std::uint32_t>(column) : placeOf(index);
    if (graph.nodes[root].kind == Typed::Number) {
        compute(root, {Destination::Where::Accumulator});
        emit(column >= 0 ? kernels.finishColumn : kernels.finishNumber).result = result;
    } else {
        compute(root, {Destination::Where::Place, form, result});
        emit(kernels.finish);
    }
    Instruction& end = program.instructions.back();
    end.left = static_cast<std::uint32_t>(program.instructions.size()) - 1 - begin;

    Stretch& made = program.stretches[index];
    made.firstInstruction = first;
    made.needsOthers = begin > first;
}

// Whether a node's value is there without being computed by its user.
bool Compiler::isKnown(NodeIndex node) const
{
    const GraphNode& described = graph.nodes[node];
    return described.constant || described.task == NodeTask::Time || described.isApart;
}

// Everything that the stretch needs of others, before a value of its own has to be kept.
void Compiler::addNeeds(NodeIndex root)
{
    std::vector<NodeIndex> pending{root};
    while (!pending.empty()) {
        const NodeIndex node = pending.back();
        pending.pop_back();
        if (graph.nodes[node].task == NodeTask::Keys && timesOf(node) == 0) {
            const TypedKeys& keys = keysOf(node);
            if (std::ranges::any_of(keys.sources, [](const KeySource& s) { return s.stretch != KeySource::none; }))
                emit(kernels.needKeys).table = &keys;
            continue;
        }
        for (const NodeIndex below : graph.childrenOf(node)) {
            const NodeIndex operand = graph.resolved(below);
            if (!isKnown(operand)) {
                pending.push_back(operand);
            } else if (!graph.nodes[operand].constant && graph.nodes[operand].task != NodeTask::Time) {
                const std::uint32_t stretch = typedStretch(operand);
                if (std::exchange(neededBy[stretch], root) != root)
                    emit(kernels.need).left = stretch;
            }
        }
    }
}

const TypedKeys& Compiler::keysOf(NodeIndex node)
{
    const auto [known, isNew] = keysOfNodes.try_emplace(node, nullptr);
    if (!isNew)
        return *known->second;
    TypedKeys& keys = program.typedKeys.emplace_back();
    known->second = &keys;
    if (timesOf(node) == 0)
        keys.times =
            &static_cast<const InterpolateExpressionAST*>(graph.nodes[node].expression)->constantTimes().times;
    bool areNumbers = timesOf(node) == 0;
    for (const NodeIndex below : graph.childrenOf(node).first(graph.nodes[node].keyCount)) {
        const NodeIndex value = graph.resolved(below);
        KeySource& source = keys.sources.emplace_back();
        if (const Plain* constant = graph.nodes[value].constant) {
            source.constant = *constant;
        } else {
            source.stretch = static_cast<std::int32_t>(typedStretch(value));
        }
        areNumbers &= source.stretch == KeySource::none && graph.nodes[value].kind == Typed::Number;
    }
    if (areNumbers)
        for (const KeySource& source : keys.sources)
            keys.numbers.push_back(*std::get_if<double>(&source.constant));
    return keys;
}

// The form in which a node's own rule gives its value.
Form Compiler::naturalForm(NodeIndex index) const
{
    const GraphNode& node = graph.nodes[index];
    if (node.kind != Typed::Vector)
        return formOf(node.kind);
    switch (node.task) {
    case NodeTask::Operate: {
        const Typed left = graph.nodes[graph.child(index, 0)].kind, right = graph.nodes[graph.child(index, 1)].kind;
        return kernels.records[indexOf(recordRule(operatorOf(node)))][indexOf(left)][indexOf(right)].result;
    }
    case NodeTask::Negate:
    case NodeTask::Call: return Form::Vector;
    default: return Form::WideVector;
    }
}

std::optional<Compiler::Simple> Compiler::simple(NodeIndex node)
{
    node = graph.resolved(node);
    const GraphNode& described = graph.nodes[node];
    if (described.kind != Typed::Number)
        return std::nullopt;
    if (described.constant)
        return Simple{Operand::Constant, *std::get_if<double>(described.constant)};
    if (described.task == NodeTask::Time)
        return Simple{Operand::Time};
    if (described.isApart && node != frames.front().node)
        return Simple{Operand::Register, 0, placeOf(typedStretch(node))};
    return std::nullopt;
}

Instruction& Compiler::emit(const Kernel& kernel)
{
    constexpr std::size_t instructionsBetweenLooks = 500; // few expressions are so long
    if (program.instructions.size() % instructionsBetweenLooks == instructionsBetweenLooks - 1)
        program.instructions.emplace_back().kernel = kernels.lookAtStopFlag;
    Instruction& made = program.instructions.emplace_back();
    made.kernel = kernel;
    return made;
}

// Where a stretch puts its result; what only a column needs has no place.
std::uint32_t Compiler::placeOf(std::uint32_t stretch)
{
    std::uint32_t& place = program.stretches[stretch].result;
    if (place == noPlace)
        place = reserve(program.stretches[stretch].form);
    return place;
}

// Where the records of expressions lie that nobody else needs; they are copied to their columns at once.
std::uint32_t Compiler::placeOfRoots(Form form)
{
    std::uint32_t& place = rootPlaces[indexOf(form)];
    if (place == noPlace)
        place = reserve(form);
    return place;
}

std::uint32_t Compiler::reserve(Form form)
{
    const std::size_t place = program.registersSize;
    if (place > noPlace - sizeOfForm(form)) // instructions have 32 bits for a place
        throw std::bad_alloc();
    program.registersSize += sizeOfForm(form);
    return static_cast<std::uint32_t>(place);
}

Compiler::Place Compiler::fresh(Form form)
{
    auto& places = freePlaces[indexOf(form)];
    if (places.empty())
        return {reserve(form), form, true};
    const std::uint32_t place = places.back();
    places.pop_back();
    return {place, form, true};
}

void Compiler::giveBack(Place place)
{
    if (place.isFresh)
        freePlaces[indexOf(place.form)].push_back(place.at);
}

void Compiler::push(NodeIndex node, Destination to)
{
    Frame& frame = frames.emplace_back();
    frame.node = graph.resolved(node);
    frame.to = to;
}

void Compiler::compute(NodeIndex node, Destination to)
{
    frames.clear();
    push(node, to);
    while (!frames.empty())
        advance();
}

// The next step of the newest frame, which ends it or lays one for an operand upon it.
void Compiler::advance()
{
    Frame& frame = frames.back();
    const GraphNode& node = graph.nodes[frame.node];
    const NodeIndex index = frame.node;
    if (frame.stage == 0 && (frames.size() > 1 || node.task == NodeTask::Time) && isKnown(index)) {
        deliverKnown(index, frame.to);
        return pop();
    }

    switch (node.task) {
    case NodeTask::Operate: {
        const GraphNode &left = graph.nodes[graph.child(index, 0)], &right = graph.nodes[graph.child(index, 1)];
        if (left.kind == Typed::Number && right.kind == Typed::Number)
            return operateOnNumbers(*numberRule(operatorOf(node)));
        return combineRecords(
            kernels.records[indexOf(recordRule(operatorOf(node)))][indexOf(left.kind)][indexOf(right.kind)]);
    }
    case NodeTask::Negate: {
        if (node.kind == Typed::Number) {
            if (frame.stage++ == 0)
                return push(graph.child(index, 0), {Destination::Where::Accumulator});
            emit(kernels.functions[indexOf(NumberFunction::Negative)]);
            deliverNumber(frame.to);
            return pop();
        }
        const Form form = naturalForm(index);
        if (fetch({form}))
            deliverRecord(kernels.negative[indexOf(form)], form);
        return;
    }
    case NodeTask::Call: return call();
    case NodeTask::Function: return callFunction();
    case NodeTask::Vector:
    case NodeTask::Color:
    case NodeTask::AColor:
    case NodeTask::Matrix:
    case NodeTask::Transform: return fillComponents();
    case NodeTask::Keys: {
        if (timesOf(index) > 0)
            return blendVaryingKeys();
        const TypedKeys& keys = keysOf(index);
        if (keys.numbers.empty())
            return deliverRecord(kernels.keys[indexOf(formOf(node.kind))], formOf(node.kind), &keys);
        emit(kernels.numberKeys).table = &keys;
        deliverNumber(frame.to);
        return pop();
    }
    default: return pop(); // no other task is typed
    }
}

// A value that is there already.
void Compiler::deliverKnown(NodeIndex index, Destination to)
{
    const GraphNode& node = graph.nodes[index];
    if (node.kind == Typed::Number) {
        const auto operand = node.task == NodeTask::Time ? Simple{Operand::Time} : *simple(index);
        return deliverNumber(to, operand);
    }
    if (node.constant) {
        const Place target = to.where == Destination::Where::Place ? Place{to.place, to.form} : fresh(to.form);
        program.constants.push_back(*node.constant);
        Instruction& fill = emit(kernels.fill[indexOf(to.form)]);
        fill.table = &program.constants.back();
        fill.result = target.at;
        latest = target;
        return;
    }
    const std::uint32_t stretch = typedStretch(index);
    convert({placeOf(stretch), program.stretches[stretch].form}, to);
}

void Compiler::operateOnNumbers(NumberRule rule)
{
    Frame& frame = frames.back();
    const NodeIndex left = graph.child(frame.node, 0), right = graph.child(frame.node, 1);
    auto first = simple(left), second = simple(right);
    const bool bothComputed = !first && !second;
    if (bothComputed && joinOperand(rule, left, right))
        return;
    if (frame.stage == 0 && bothComputed) {
        // The one that takes more registers while nothing waits.
        frame.rightFirst = graph.nodes[graph.resolved(right)].need > graph.nodes[graph.resolved(left)].need;
        frame.stage = 1;
        return push(frame.rightFirst ? right : left, {Destination::Where::Fresh, Form::Number});
    }
    if (frame.stage == 0 && (!first || !second)) {
        frame.stage = 2;
        return push(first ? right : left, {Destination::Where::Accumulator});
    }
    if (frame.stage == 1) {
        frame.operands[0] = latest;
        frame.stage = 2;
        return push(frame.rightFirst ? left : right, {Destination::Where::Accumulator});
    }
    if (bothComputed)
        (frame.rightFirst ? second : first) = Simple{Operand::Register, 0, frame.operands[0].at};
    const Simple l = first.value_or(Simple{Operand::Accumulator}), r = second.value_or(Simple{Operand::Accumulator});
    Instruction& made = emit(kernels.numbers[indexOf(rule)][indexOf(l.where)][indexOf(r.where)]);
    made.constant = l.where == Operand::Constant ? l.constant : r.constant;
    made.left = l.place;
    made.right = r.place;
    giveBack(frame.operands[0]);
    deliverNumber(frame.to);
    pop();
}

// Where one operand is computed from two numbers that are there, it is computed together with the operator.
// True when that was done, or begun with the other operand.
bool Compiler::joinOperand(NumberRule rule, NodeIndex left, NodeIndex right)
{
    Frame& frame = frames.back();
    const bool isRight = isShort(right);
    const auto way = wayToJoin(rule, isRight);
    if (!way || frame.stage == 1 || (!isRight && !isShort(left)))
        return false;
    if (frame.stage == 0) {
        frame.stage = 3;
        push(isRight ? left : right, {Destination::Where::Accumulator});
        return true;
    }
    if (frame.stage != 3)
        return false;
    const NodeIndex operand = graph.resolved(isRight ? right : left);
    const Simple l = *simple(graph.child(operand, 0)), r = *simple(graph.child(operand, 1));
    const NumberRule inner = *numberRule(operatorOf(graph.nodes[operand]));
    Instruction& made = emit(kernels.joined[indexOf(*way)][indexOf(inner)][indexOf(l.where)][indexOf(r.where)]);
    made.constant = l.where == Operand::Constant ? l.constant : r.constant;
    made.left = l.place;
    made.right = r.place;
    deliverNumber(frame.to);
    pop();
    return true;
}

// Whether a node is one operator on two numbers that need no computation.
bool Compiler::isShort(NodeIndex index)
{
    index = graph.resolved(index);
    const GraphNode& node = graph.nodes[index];
    return node.task == NodeTask::Operate && node.kind == Typed::Number && simple(graph.child(index, 0))
        && simple(graph.child(index, 1));
}

void Compiler::combineRecords(const RecordKernel& rule)
{
    // Computed operands first; the others are found where the kernel for their kind looks.
    Frame& frame = frames.back();
    RecordOperand where[2];
    const Plain* constant = nullptr;
    for (std::uint32_t i = 0; i < 2; ++i) {
        const GraphNode& operand = graph.nodes[graph.resolved(graph.child(frame.node, i))];
        const bool isShort =
            operand.kind == Typed::Number || operand.kind == Typed::Vector || operand.kind == Typed::Color;
        where[i] = operand.constant && isShort ? RecordOperand::Constant
            : operand.task == NodeTask::Time   ? RecordOperand::Time
                                               : RecordOperand::Register;
        if (where[i] == RecordOperand::Constant)
            constant = operand.constant;
    }
    const Form wanted[2] = {rule.left, rule.right};
    if (frame.stage > 0)
        frame.operands[frame.stage - 1] = latest;
    while (frame.stage < 2)
        if (where[frame.stage] != RecordOperand::Register)
            ++frame.stage;
        else if (!fetchNext(wanted[frame.stage]))
            return;
    const void* table = nullptr;
    if (constant) {
        program.constants.push_back(*constant);
        table = &program.constants.back();
    }
    const Kernel& kernel = rule.kernels[indexOf(where[0])][indexOf(where[1])];
    if (rule.result != Form::Number)
        return deliverRecord(kernel, rule.result, table);
    Instruction& made = emit(kernel);
    made.left = frame.operands[0].at;
    made.right = frame.operands[1].at;
    made.table = table;
    giveBack(frame.operands[0]);
    giveBack(frame.operands[1]);
    deliverNumber(frame.to);
    pop();
}

void Compiler::call()
{
    Frame& frame = frames.back();
    const GraphNode& node = graph.nodes[frame.node];
    const auto applyToNumber = [&](NumberFunction function) {
        if (frame.stage++ == 0)
            return push(graph.child(frame.node, 0), {Destination::Where::Accumulator});
        emit(kernels.functions[indexOf(function)]);
        deliverNumber(frame.to);
        pop();
    };
    const auto applyToVector = [&](const Kernel& kernel) {
        if (!fetch({Form::Vector}))
            return;
        emit(kernel).left = frame.operands[0].at;
        giveBack(frame.operands[0]);
        deliverNumber(frame.to);
        pop();
    };
    switch (functionOf(node)) {
    case Builtin::Sqr: return applyToNumber(NumberFunction::Square);
    case Builtin::Sqrt: return applyToNumber(NumberFunction::SquareRoot);
    case Builtin::Sin: return applyToNumber(NumberFunction::Sine);
    case Builtin::Cos: return applyToNumber(NumberFunction::Cosine);
    case Builtin::Length: return applyToVector(kernels.length);
    case Builtin::Noise: return applyToVector(kernels.noise);
    case Builtin::Pow: return operateOnNumbers(NumberRule::Power);
    case Builtin::Cross:
        if (fetch({Form::Vector, Form::Vector}))
            deliverRecord(kernels.cross, Form::Vector);
        return;
    case Builtin::Uniform: {
        if (frame.stage < 2) {
            if (!fetch({Form::Number}))
                return;
            frame.stage = 2;
            return push(graph.child(frame.node, 1), {Destination::Where::Accumulator});
        }
        Instruction& made = emit(kernels.uniform);
        made.left = frame.operands[0].at;
        made.constant = widened(static_cast<const BuiltinFunctionAST*>(node.expression)->sample);
        giveBack(frame.operands[0]);
        deliverNumber(frame.to);
        return pop();
    }
    case Builtin::Time:
    case Builtin::Sample:
    case Builtin::Pi: return pop(); // no calls
    }
}

// Times that vary are computed one after the other; each narrows down which keys are around the block's times.
void Compiler::blendVaryingKeys()
{
    Frame& frame = frames.back();
    const GraphNode& node = graph.nodes[frame.node];
    if (frame.stage == 0)
        frame.operands[0] = fresh(Form::WideVector);
    if (frame.stage > 0) {
        Instruction& made = emit(kernels.keyTime);
        made.constant = frame.stage - 1;
        made.result = frame.operands[0].at;
    }
    if (frame.stage < timesOf(frame.node))
        return push(graph.child(frame.node, node.keyCount + frame.stage++), {Destination::Where::Accumulator});
    deliverRecord(kernels.varyingKeys[indexOf(formOf(node.kind))], formOf(node.kind), &keysOf(frame.node));
}

// A literal's parts are computed straight to where they belong.
void Compiler::fillComponents()
{
    Frame& frame = frames.back();
    const GraphNode& node = graph.nodes[frame.node];
    if (frame.stage == 0)
        frame.target = frame.to.where == Destination::Where::Place ? frame.to.place : fresh(frame.to.form).at;
    if (frame.stage == node.childCount) {
        latest = {frame.target, frame.to.form, frame.to.where == Destination::Where::Fresh};
        return pop();
    }
    const std::uint32_t i = frame.stage++;
    const NodeIndex part = graph.child(frame.node, i);
    switch (node.task) {
    case NodeTask::Matrix:
        return push(part, {Destination::Where::Place, Form::Vector, frame.target + 3 * i * floatsSize});
    case NodeTask::Transform:
        if (i == 0)
            return push(part, {Destination::Where::Place, Form::Matrix, frame.target});
        return push(part, {Destination::Where::Place, Form::WideVector, frame.target + 9 * floatsSize});
    default:
        if (frame.to.form == Form::WideVector)
            return push(part, {Destination::Where::Place, Form::Number, frame.target + i * doublesSize});
        return push(part, {Destination::Where::PlaceOfSingles, Form::Number, frame.target + i * floatsSize});
    }
}

// Its arguments wait in places of their own, however many they are.
void Compiler::callFunction()
{
    Frame& frame = frames.back();
    const GraphNode& node = graph.nodes[frame.node];
    if (frame.stage == 0) {
        frame.function = &program.typedFunctions.emplace_back();
        frame.function->function = static_cast<FunctionExpressionAST*>(const_cast<ExpressionAST*>(node.expression));
        frame.function->form = formOf(node.kind);
    }
    TypedFunction& function = *frame.function;
    if (frame.stage < node.childCount) {
        const NodeIndex argument = graph.child(frame.node, frame.stage++);
        const Place place = fresh(formOf(graph.nodes[argument].kind));
        function.arguments.push_back({place.at, place.form});
        return push(argument, {Destination::Where::Place, place.form, place.at});
    }
    deliverRecord(kernels.function, function.form, &function);
    for (const auto& [place, form] : function.arguments) // not before the value has its place
        giveBack({place, form, true});
}

// False where an operand has to be computed first; the frame is entered again then.
bool Compiler::fetch(std::initializer_list<Form> wanted)
{
    Frame& frame = frames.back();
    if (frame.stage > 0)
        frame.operands[frame.stage - 1] = latest;
    while (frame.stage < wanted.size())
        if (!fetchNext(wanted.begin()[frame.stage]))
            return false;
    return true;
}

bool Compiler::fetchNext(Form form)
{
    Frame& frame = frames.back();
    const std::uint32_t i = frame.stage++;
    const NodeIndex operand = graph.resolved(graph.child(frame.node, i));
    const GraphNode& node = graph.nodes[operand];
    if (!node.constant && node.task != NodeTask::Time && node.isApart) {
        const std::uint32_t stretch = typedStretch(operand);
        if (program.stretches[stretch].form == form) {
            frame.operands[i] = {placeOf(stretch), form};
            return true;
        }
    }
    push(operand, {Destination::Where::Fresh, form});
    return false;
}

// From the accumulator, or what needs no computation from where it is.
void Compiler::deliverNumber(Destination to, Simple from)
{
    const auto move = [&](const Kernel(&kernelsByOperand)[operands], std::uint32_t result) {
        Instruction& made = emit(kernelsByOperand[indexOf(from.where)]);
        made.constant = from.constant;
        made.left = from.place;
        made.result = result;
    };
    switch (to.where) {
    case Destination::Where::Accumulator:
        if (from.where != Operand::Accumulator)
            move(kernels.load, 0);
        return;
    case Destination::Where::Fresh: latest = fresh(Form::Number); return move(kernels.store, latest.at);
    case Destination::Where::Place: return move(kernels.store, to.place);
    case Destination::Where::PlaceOfSingles: return move(kernels.storeSingle, to.place);
    }
}

// Ends the newest frame with the kernel's result, brought into the form that is asked for.
void Compiler::deliverRecord(Kernel kernel, Form natural, const void* table)
{
    const Frame frame = frames.back();
    const bool isStraight = frame.to.where == Destination::Where::Place && frame.to.form == natural;
    const Place result = isStraight ? Place{frame.to.place, natural} : fresh(natural);
    Instruction& made = emit(kernel);
    made.left = frame.operands[0].at;
    made.right = frame.operands[1].at;
    made.result = result.at;
    made.table = table;
    giveBack(frame.operands[0]);
    giveBack(frame.operands[1]);
    pop();
    latest = result;
    if (natural == Form::Number && frame.to.where != Destination::Where::Fresh) {
        deliverNumber(frame.to, {Operand::Register, 0, result.at});
        giveBack(result);
    } else if (!isStraight && (frame.to.where == Destination::Where::Place || frame.to.form != natural)) {
        convert(result, frame.to);
        giveBack(result);
    }
}

void Compiler::convert(Place from, Destination to)
{
    const Place target = to.where == Destination::Where::Place ? Place{to.place, to.form} : fresh(to.form);
    Instruction& made = emit(from.form == to.form          ? kernels.copy[indexOf(to.form)]
                                 : to.form == Form::Vector ? kernels.narrowed
                                                           : kernels.widened);
    made.left = from.at;
    made.result = target.at;
    latest = target;
}

} // namespace Marl
