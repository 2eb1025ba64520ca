// The instructions of compiled expressions, and the kernels that compute them.
//
// A kernel computes its instruction at one time or at a few side by side, and goes on to the next
// instruction's kernel; between the two the newest number travels in the processor's registers, the
// accumulator. What else lives longer lies in arrays, see registers.h.
//
// The kernels are compiled from one source for each instruction set; all give the same bits.
#pragma once

#include <marl/ast/forward.h>
#include <marl/ast/key_times.h>
#include <marl/compiled/detail/registers.h>
#include <marl/value/detail/blend.h>
#include <marl/visitor/budget.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Marl {

struct Evaluation;
struct Instruction;

// Kernels are called through their own type again, which only their own source knows.
using AnyKernel = void (*)();

// One rule at one time, and at several.
struct Kernel {
    AnyKernel atOneTime = nullptr;
    AnyKernel atTimes = nullptr;
};

// Places are offsets into the registers.
struct Instruction {
    Kernel kernel;
    double constant = 0;
    std::uint32_t left = 0;
    std::uint32_t right = 0;
    std::uint32_t result = 0;
    const void* table = nullptr; // a record, or the keys of a curve
};

inline constexpr std::uint32_t noPlace = ~std::uint32_t(0);

// A part of a program that is computed as one: a property, a value that several expressions share, or one
// that is needed only at some times. It begins with what it needs of other stretches, once a block; the rest
// is repeated for the times of a block, a few at a time.
struct Stretch {
    std::uint32_t firstInstruction = 0;
    std::uint32_t result = noPlace; // where its arrays lie
    Form form = Form::Number;
    bool needsOthers = false;
};

// Where the value of a key comes from: a constant or a stretch.
struct KeySource {
    static constexpr std::int32_t none = -1;
    std::int32_t stretch = none;
    Plain constant;
};

// A curve whose values are typed. Where its times vary, all values are constant.
struct TypedKeys {
    const KeyTimes* times = nullptr; // unless they vary
    std::vector<KeySource> sources;
    std::vector<double> numbers; // of a curve whose values are constant numbers
};

// A function of the host's whose kinds are known, and where its arguments lie.
struct TypedFunction {
    struct Argument {
        std::uint32_t place;
        Form form;
    };
    FunctionExpressionAST* function = nullptr;
    std::vector<Argument> arguments;
    Form form = Form::Number; // of its value
};

// Calls it for some times of the block, from a position on.
void callTyped(const TypedFunction& function, const Evaluation& e, std::uint32_t result, std::size_t position,
               std::size_t count);

// The keys around a time, and how far it is on the way from one to the other. Where a single key's value
// holds it is both.
struct Bracket {
    std::size_t earlier, later;
    double factor = 0;
};

// Times mostly rise, so the keys before and behind those of the last time are tried first.
inline Bracket bracketOf(const KeyTimes& times, double time, bool holds, std::size_t before)
{
    const std::size_t last = times.size() - 1;
    if (last == 0 || !(time > times.front()))
        return {0, 0};
    if (time >= times.back())
        return {last, last};
    std::size_t earlier = before;
    if (earlier >= last || !(times[earlier] <= time && time < times[earlier + 1]))
        earlier = times.countUpTo(time) - 1;
    if (holds)
        return {earlier, earlier};
    return {earlier, earlier + 1, share(times[earlier], time, times[earlier + 1])};
}

// Which times of a block a stretch has been computed for.
struct StretchState {
    std::uint64_t wholeBlock = 0; // the block's number when it is all of them
    std::uint64_t someTimes = 0;  // the block's number when it is those below
    std::uint64_t done[blockLength / 64] = {};
};

struct Evaluation {
    std::byte* registers = nullptr;
    const double* times = nullptr;    // of the block, the last one repeated up to a full step
    double* const* columns = nullptr; // where numbers go that nothing else needs, at the block's first time
    double number = 0;                // such a number at one time
    const Stretch* stretches = nullptr;
    StretchState* states = nullptr; // of the stretches
    std::uint64_t block = 0;        // the number of the block
    std::size_t end = 0;            // times to compute, a multiple of what a kernel computes at once
    std::size_t count = 0;          // times of the block
    bool holds = false;             // keys hold instead of blending
    const Budget* budget = nullptr;

    // Where kernels leave off: behind the last instruction nothing, else what must be computed first.
    const Instruction* resume = nullptr; // the instruction to go on with
    std::int32_t needed = KeySource::none;
    bool neededAtOneTime = false;
    std::size_t neededAt = 0;
    std::size_t progress = 0; // times of the block that an instruction which leaves off repeatedly has seen to

    // Where kernels that return leave the accumulator; those that do not use it as scratch memory.
    const Instruction* next = nullptr;
    std::size_t nextPosition = 0;
    alignas(32) std::byte kept[256];

    bool isDone(std::int32_t stretch, std::size_t time, bool atOneTime) const
    {
        const StretchState& state = states[stretch];
        return state.wholeBlock == block
            || (atOneTime && state.someTimes == block && (state.done[time / 64] >> (time % 64) & 1) != 0);
    }
};

// Where a kernel for numbers finds an operand.
enum class Operand : unsigned char { Accumulator, Register, Constant, Time };
inline constexpr int operands = 4;

enum class NumberRule : unsigned char { Sum, Difference, Product, Quotient, Power };
inline constexpr int numberRules = 5;

// How the accumulator is combined with two further numbers in one go: with what a rule makes of them.
enum class Joined : unsigned char { Add, Subtract, SubtractFrom, Multiply };
inline constexpr int waysToJoin = 4;
inline constexpr int joinedRules = 4; // those before Power

enum class NumberFunction : unsigned char { Square, SquareRoot, Sine, Cosine, Negative };
inline constexpr int numberFunctions = 5;

enum class RecordRule : unsigned char { Sum, Difference, Product, Quotient };
inline constexpr int recordRules = 4;

// Where a kernel for records finds an operand: numbers, vectors and colors that do not change are read from
// the instruction, times from where they are.
enum class RecordOperand : unsigned char { Register, Constant, Time };
inline constexpr int recordOperands = 3;

// A rule on records and the forms in which it takes and gives them; a number is given in the accumulator.
struct RecordKernel {
    Kernel kernels[recordOperands][recordOperands];
    Form left, right, result;
};

// All kernels of one instruction set.
struct Kernels {
    std::size_t timesAtOnce;
    void (*runAtOneTime)(Evaluation&, const Instruction*, std::size_t position);
    void (*runAtTimes)(Evaluation&, const Instruction*, std::size_t position);

    Kernel numbers[numberRules][operands][operands];
    Kernel joined[waysToJoin][joinedRules][operands][operands];
    Kernel functions[numberFunctions];
    Kernel load[operands];        // to the accumulator
    Kernel store[operands];       // to a register
    Kernel storeSingle[operands]; // rounded, to an array of floats
    Kernel uniform;               // left register and accumulator, by a constant share

    RecordKernel records[recordRules][typedKinds][typedKinds];
    Kernel negative[forms];
    Kernel length, noise; // to the accumulator
    Kernel cross;
    Kernel function;    // of the host's
    Kernel fill[forms]; // from a constant
    Kernel copy[forms];
    Kernel narrowed, widened; // a vector's other form

    Kernel need;     // another stretch
    Kernel needKeys; // those around the times
    Kernel keys[forms];
    Kernel numberKeys; // constant ones, to the accumulator
    Kernel keyTime;    // the next one of times that vary
    Kernel varyingKeys[forms];
    Kernel lookAtStopFlag; // now and then in long stretches
    Kernel finish;         // a stretch
    Kernel finishNumber;   // whose result is the accumulator
    Kernel finishColumn;   // which goes to a column
};

const Kernels& baselineKernels();
const Kernels& avx2Kernels();

// The fastest that the processor has.
const Kernels& kernels();

} // namespace Marl
