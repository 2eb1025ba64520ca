// The table of the kernels of kernel_source.h, which is included before; it follows from the rules that exist.

namespace Marl {
namespace {

using AtOneTime = Compute<double, std::integer_sequence<int, 0>>;
using AtTimes = Compute<Lane, std::integer_sequence<int, 0, 1, 2, 3, 4, 5, 6, 7>>;

// clang-format off
#define MARL_BOTH(...) Kernel{reinterpret_cast<AnyKernel>(&AtOneTime::__VA_ARGS__), reinterpret_cast<AnyKernel>(&AtTimes::__VA_ARGS__)}
// clang-format on

template <NumberRule rule, int left, int right>
Kernel numberKernel()
{
    constexpr bool isConstant = Operand(left) == Operand::Constant && Operand(right) == Operand::Constant;
    if constexpr (isConstant)
        return {};
    else if constexpr (rule == NumberRule::Power)
        return MARL_BOTH(template raise<Operand(left), Operand(right)>);
    else
        return MARL_BOTH(template calculate<rule, Operand(left), Operand(right)>);
}

// A vector lies in single precision for every rule but those by which a transform acts on it.
template <typename Record, bool isWide>
constexpr Form formOf()
{
    if constexpr (std::is_same_v<Record, double>)
        return Form::Number;
    else if constexpr (std::is_same_v<Record, TracePoint>)
        return isWide ? Form::WideVector : Form::Vector;
    else if constexpr (std::is_same_v<Record, Matrix>)
        return Form::Matrix;
    else if constexpr (std::is_same_v<Record, Color>)
        return Form::Color;
    else if constexpr (std::is_same_v<Record, AColor>)
        return Form::AColor;
    else
        return Form::Transform;
}

// Times are numbers, and what is constant on both sides was computed when it was compiled.
template <typename Record, RecordOperand operand>
constexpr bool hasOperand =
    operand == RecordOperand::Register
    || std::is_same_v<
        Record,
        double> || (operand == RecordOperand::Constant && (std::is_same_v<Record, TracePoint> || std::is_same_v<Record, Color>));

template <auto rule, int left, int right, int... i>
RecordKernel recordKernel(std::integer_sequence<int, i...>)
{
    using Left = std::variant_alternative_t<left, Plain>;
    using Right = std::variant_alternative_t<right, Plain>;
    constexpr bool isNumbers = std::is_same_v<Left, double> && std::is_same_v<Right, double>;
    RecordKernel row{};
    if constexpr (std::is_invocable_v<decltype(rule), const Left&, const Right&> && !isNumbers) {
        constexpr bool moves = std::is_same_v<Left, TraceTransform> || std::is_same_v<Right, TraceTransform>;
        using Result = std::invoke_result_t<decltype(rule), const Left&, const Right&>;
        constexpr Form leftForm = formOf<Left, moves>(), rightForm = formOf<Right, moves>();
        constexpr Form result = formOf<Result, std::is_same_v<Left, TraceTransform>>();
        row.left = leftForm;
        row.right = rightForm;
        row.result = result;
        const auto add = [&]<RecordOperand leftOperand, RecordOperand rightOperand>(
                             std::integral_constant<RecordOperand, leftOperand>,
                             std::integral_constant<RecordOperand, rightOperand>) {
            constexpr bool isConstant =
                leftOperand == RecordOperand::Constant && rightOperand == RecordOperand::Constant;
            if constexpr (hasOperand<Left, leftOperand> && hasOperand<Right, rightOperand> && !isConstant)
                row.kernels[static_cast<int>(leftOperand)][static_cast<int>(rightOperand)] =
                    MARL_BOTH(template combine<rule, leftForm, leftOperand, rightForm, rightOperand, result>);
        };
        (add(std::integral_constant<RecordOperand, RecordOperand(i / recordOperands)>(),
             std::integral_constant<RecordOperand, RecordOperand(i % recordOperands)>()),
         ...);
    }
    return row;
}

template <Joined way, NumberRule rule, int left, int right>
Kernel joinedKernel()
{
    constexpr bool hasAccumulator = Operand(left) == Operand::Accumulator || Operand(right) == Operand::Accumulator;
    constexpr bool isConstant = Operand(left) == Operand::Constant && Operand(right) == Operand::Constant;
    if constexpr (hasAccumulator || isConstant)
        return {};
    else
        return MARL_BOTH(template join<way, rule, Operand(left), Operand(right)>);
}

template <int... i>
void addJoinedKernels(Kernels& all, std::integer_sequence<int, i...>)
{
    constexpr int pairs = operands * operands;
    ((all.joined[i / pairs / joinedRules][i / pairs % joinedRules][i / operands % operands][i % operands] =
          joinedKernel<Joined(i / pairs / joinedRules), NumberRule(i / pairs % joinedRules), i / operands % operands,
                       i % operands>()),
     ...);
}

template <int... i>
void addNumberKernels(Kernels& all, std::integer_sequence<int, i...>)
{
    ((all.numbers[i / operands / operands][i / operands % operands][i % operands] =
          numberKernel<NumberRule(i / operands / operands), i / operands % operands, i % operands>()),
     ...);
}

template <int... i>
void addOperandKernels(Kernels& all, std::integer_sequence<int, i...>)
{
    ((all.load[i] = MARL_BOTH(template load<Operand(i)>)), ...);
    ((all.store[i] = MARL_BOTH(template store<Operand(i)>)), ...);
    ((all.storeSingle[i] = MARL_BOTH(template storeSingle<Operand(i)>)), ...);
}

template <auto rule, int... i>
void addRecordKernels(RecordKernel (&rows)[typedKinds][typedKinds], std::integer_sequence<int, i...>)
{
    ((rows[i / typedKinds][i % typedKinds] = recordKernel<rule, i / typedKinds, i % typedKinds>(
          std::make_integer_sequence<int, recordOperands * recordOperands>())),
     ...);
}

template <int... i>
void addFormKernels(Kernels& all, std::integer_sequence<int, i...>)
{
    ((all.fill[i] = MARL_BOTH(template fill<Form(i)>)), ...);
    ((all.keys[i] = MARL_BOTH(template blendKeys<Form(i)>)), ...);
    ((all.varyingKeys[i] = MARL_BOTH(template blendVaryingKeys<Form(i)>)), ...);
    ((all.copy[i] = MARL_BOTH(template change<itself, Form(i), Form(i)>)), ...);
}

Kernels allKernels()
{
    Kernels all;
    all.timesAtOnce = AtTimes::count;
    all.runAtOneTime = AtOneTime::run;
    all.runAtTimes = AtTimes::run;

    addNumberKernels(all, std::make_integer_sequence<int, numberRules * operands * operands>());
    addJoinedKernels(all, std::make_integer_sequence<int, waysToJoin * joinedRules * operands * operands>());
    all.functions[static_cast<int>(NumberFunction::Square)] = MARL_BOTH(template apply<NumberFunction::Square>);
    all.functions[static_cast<int>(NumberFunction::SquareRoot)] =
        MARL_BOTH(template apply<NumberFunction::SquareRoot>);
    all.functions[static_cast<int>(NumberFunction::Sine)] = MARL_BOTH(template apply<NumberFunction::Sine>);
    all.functions[static_cast<int>(NumberFunction::Cosine)] = MARL_BOTH(template apply<NumberFunction::Cosine>);
    all.functions[static_cast<int>(NumberFunction::Negative)] = MARL_BOTH(template apply<NumberFunction::Negative>);
    addOperandKernels(all, std::make_integer_sequence<int, operands>());
    all.uniform = MARL_BOTH(blendByShare);
    all.function = MARL_BOTH(callFunction);

    constexpr auto pairs = std::make_integer_sequence<int, typedKinds * typedKinds>();
    addRecordKernels<Rule::sum>(all.records[static_cast<int>(RecordRule::Sum)], pairs);
    addRecordKernels<Rule::difference>(all.records[static_cast<int>(RecordRule::Difference)], pairs);
    addRecordKernels<Rule::product>(all.records[static_cast<int>(RecordRule::Product)], pairs);
    addRecordKernels<Rule::quotient>(all.records[static_cast<int>(RecordRule::Quotient)], pairs);
    addFormKernels(all, std::make_integer_sequence<int, forms>());
    all.negative[static_cast<int>(Form::Vector)] =
        MARL_BOTH(template change<Rule::negative, Form::Vector, Form::Vector>);
    all.negative[static_cast<int>(Form::Matrix)] =
        MARL_BOTH(template change<Rule::negative, Form::Matrix, Form::Matrix>);
    all.negative[static_cast<int>(Form::Color)] =
        MARL_BOTH(template change<Rule::negative, Form::Color, Form::Color>);
    all.negative[static_cast<int>(Form::AColor)] =
        MARL_BOTH(template change<Rule::negative, Form::AColor, Form::AColor>);
    all.negative[static_cast<int>(Form::Transform)] =
        MARL_BOTH(template change<Rule::negative, Form::Transform, Form::Transform>);
    all.length = MARL_BOTH(template change<lengthOf, Form::Vector, Form::Number>);
    all.noise = MARL_BOTH(noiseOfVectors);
    all.cross = MARL_BOTH(template combine<crossOf, Form::Vector, RecordOperand::Register, Form::Vector,
                                           RecordOperand::Register, Form::Vector>);
    all.narrowed = MARL_BOTH(template change<itself, Form::WideVector, Form::Vector>);
    all.widened = MARL_BOTH(template change<itself, Form::Vector, Form::WideVector>);

    all.lookAtStopFlag = MARL_BOTH(lookAtStopFlag);
    all.need = MARL_BOTH(need);
    all.needKeys = MARL_BOTH(needKeys);
    all.keyTime = MARL_BOTH(nextKeyTime);
    all.numberKeys = MARL_BOTH(blendNumberKeys);
    all.finish = MARL_BOTH(finish);
    all.finishNumber = MARL_BOTH(finishNumber);
    all.finishColumn = MARL_BOTH(finishColumn);
    return all;
}

} // namespace
} // namespace Marl
