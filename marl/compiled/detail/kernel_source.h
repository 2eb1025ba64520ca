// The kernels, compiled once for each instruction set: what includes this defines Lane, the numbers that
// one processor register holds side by side, and everything here is its own.
//
// A kernel ends in a call of the next one, which compilers make a jump; so a program runs through without
// returning, and the accumulator stays in registers: eight of Lane, or one double for one time. Where
// compilers do not make jumps of such calls the stack would grow with the program; there the kernels
// return and a loop goes on.

#if defined(MARL_KERNELS_RETURN) // said by the build
#elif !defined(__OPTIMIZE__) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MARL_KERNELS_RETURN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define MARL_KERNELS_RETURN 1
#endif
#endif

#if defined(__clang__) && !defined(MARL_KERNELS_RETURN)
#define MARL_JUMP [[clang::musttail]] return
#else
#define MARL_JUMP return
#endif

#if defined(__clang__)
#pragma clang diagnostic ignored "-Wpass-failed" // a loop over one time stays one
#define MARL_SIDE_BY_SIDE _Pragma("clang loop vectorize(assume_safety)")
#else
#define MARL_SIDE_BY_SIDE _Pragma("GCC ivdep")
#endif

// A rule on records is worth being part of its loop; where kernels return nobody asks how fast they are.
#if defined(MARL_KERNELS_RETURN)
#define MARL_WHOLE
#else
#define MARL_WHOLE [[gnu::flatten]]
#endif

// clang-format off
#define MARL_KERNEL static void
#define MARL_STATE [[maybe_unused]] const Instruction* step, [[maybe_unused]] Evaluation* e, [[maybe_unused]] std::byte* registers, [[maybe_unused]] std::size_t position, [[maybe_unused]] Same<Number, k>... accumulator
#define MARL_GO_ON(...) MARL_JUMP goOn(step + 1, e, registers, position, __VA_ARGS__)
// clang-format on

namespace Marl {
namespace {

constexpr auto itself = [](const auto& record) { return record; };
constexpr auto lengthOf = [](const TracePoint& v) { return length(v); };
constexpr auto crossOf = [](const TracePoint& a, const TracePoint& b) { return crossProduct(a, b); };

template <typename Number, int>
using Same = Number;

template <typename Number, typename Sequence>
struct Compute;

// Kernels for as many times as the numbers k... hold together.
template <typename Number, int... k>
struct Compute<Number, std::integer_sequence<int, k...>> {
    using Function = void (*)(const Instruction*, Evaluation*, std::byte*, std::size_t, Same<Number, k>...);

    static constexpr bool atOneTime = std::is_same_v<Number, double>;
    static constexpr std::size_t lanes = sizeof(Number) / sizeof(double);
    static constexpr std::size_t count = sizeof...(k) * lanes;

    struct Kept {
        Number numbers[sizeof...(k)];
    };

    static AnyKernel kernelOf(const Instruction* step)
    {
        return atOneTime ? step->kernel.atOneTime : step->kernel.atTimes;
    }

    [[gnu::always_inline]] static inline void goOn(const Instruction* step, Evaluation* e, std::byte* registers,
                                                   std::size_t position, Same<Number, k>... accumulator)
    {
#ifdef MARL_KERNELS_RETURN
        e->next = step;
        e->nextPosition = position;
        const Kept kept{{ accumulator... }};
        static_assert(sizeof kept <= sizeof e->kept);
        std::memcpy(e->kept, &kept, sizeof kept);
        (void)registers;
#else
        MARL_JUMP reinterpret_cast<Function>(kernelOf(step))(step, e, registers, position, accumulator...);
#endif
    }

    // Runs until the kernels leave off.
    static void run(Evaluation& e, const Instruction* step, std::size_t position)
    {
        reinterpret_cast<Function>(kernelOf(step))(step, &e, e.registers, position, Same<Number, k>{}...);
#ifdef MARL_KERNELS_RETURN
        while (e.next) {
            const Instruction* next = std::exchange(e.next, nullptr);
            Kept kept;
            std::memcpy(&kept, e.kept, sizeof kept);
            reinterpret_cast<Function>(kernelOf(next))(next, &e, e.registers, e.nextPosition, kept.numbers[k]...);
        }
#endif
    }

    // How many of the times at a position are asked for; the others repeat the last one.
    static std::size_t wanted(const Evaluation* e, std::size_t position)
    {
        return atOneTime ? 1 : std::min(count, e->count - position);
    }

    static double* numbersAt(std::byte* registers, std::uint32_t place, std::size_t position)
    {
        return reinterpret_cast<double*>(registers + place) + position;
    }

    static Number loaded(const double* from)
    {
        Number numbers;
        std::memcpy(&numbers, from, sizeof numbers);
        return numbers;
    }

    static void stored(double* to, Number numbers)
    {
        std::memcpy(to, &numbers, sizeof numbers);
    }

    static Number all(double number)
    {
        return number - Number{};
    } // keeps the sign of zero

    template <Operand operand>
    static Number operandAt(const Instruction* step, Evaluation* e, std::byte* registers, std::uint32_t place,
                            std::size_t position, Number accumulator)
    {
        if constexpr (operand == Operand::Register)
            return loaded(numbersAt(registers, place, position));
        else if constexpr (operand == Operand::Constant)
            return all(step->constant);
        else if constexpr (operand == Operand::Time)
            return loaded(e->times + position);
        else
            return accumulator;
    }

    // The rules of operators.h for two numbers, several times side by side.
    template <NumberRule rule>
    static Number applied(Number left, Number right)
    {
        if constexpr (rule == NumberRule::Sum)
            return left + right;
        else if constexpr (rule == NumberRule::Difference)
            return left - right;
        else if constexpr (rule == NumberRule::Product)
            return left * right;
        else
            return left / right;
    }

    template <NumberRule rule, Operand left, Operand right>
    MARL_KERNEL calculate(MARL_STATE)
    {
        MARL_GO_ON(
            applied<rule>(operandAt<left>(step, e, registers, step->left, position + k * lanes, accumulator),
                          operandAt<right>(step, e, registers, step->right, position + k * lanes, accumulator))...);
    }

    template <Joined way, NumberRule rule>
    static Number joinedTo(Number accumulator, Number l, Number r)
    {
        const Number operand = applied<rule>(l, r);
        if constexpr (way == Joined::Add)
            return accumulator + operand;
        else if constexpr (way == Joined::Subtract)
            return accumulator - operand;
        else if constexpr (way == Joined::SubtractFrom)
            return operand - accumulator;
        else
            return accumulator * operand;
    }

    template <Joined way, NumberRule rule, Operand left, Operand right>
    MARL_KERNEL join(MARL_STATE)
    {
        MARL_GO_ON(joinedTo<way, rule>(
            accumulator, operandAt<left>(step, e, registers, step->left, position + k * lanes, accumulator),
            operandAt<right>(step, e, registers, step->right, position + k * lanes, accumulator))...);
    }

    // The C library computes one number after the other, and only those that are asked for.
    template <Operand left, Operand right>
    MARL_KERNEL raise(MARL_STATE)
    {
        double bases[count], exponents[count];
        (stored(bases + k * lanes,
                operandAt<left>(step, e, registers, step->left, position + k * lanes, accumulator)),
         ...);
        (stored(exponents + k * lanes,
                operandAt<right>(step, e, registers, step->right, position + k * lanes, accumulator)),
         ...);
        const std::size_t asked = wanted(e, position);
        for (std::size_t i = 0; i < asked; ++i)
            bases[i] = power(bases[i], exponents[i]);
        MARL_GO_ON(loaded(bases + k * lanes)...);
    }

    template <NumberFunction function>
    MARL_KERNEL apply(MARL_STATE)
    {
        if constexpr (function == NumberFunction::Square) {
            MARL_GO_ON(accumulator * accumulator...);
        } else if constexpr (function == NumberFunction::Negative) {
            MARL_GO_ON(-accumulator...);
        } else {
            double numbers[count];
            (stored(numbers + k * lanes, accumulator), ...);
            if constexpr (function == NumberFunction::SquareRoot) {
                for (double& number : numbers)
                    number = squareRoot(number);
            } else {
                const std::size_t asked = wanted(e, position);
                for (std::size_t i = 0; i < asked; ++i)
                    numbers[i] = function == NumberFunction::Sine ? sine(numbers[i]) : cosine(numbers[i]);
            }
            MARL_GO_ON(loaded(numbers + k * lanes)...);
        }
    }

    // The first number lies in a register, the second in the accumulator.
    MARL_KERNEL blendByShare(MARL_STATE)
    {
        double numbers[count];
        (stored(numbers + k * lanes, accumulator), ...);
        const double* first = numbersAt(registers, step->left, position);
        for (std::size_t i = 0; i < count; ++i)
            numbers[i] = uniform(first[i], numbers[i], step->constant);
        MARL_GO_ON(loaded(numbers + k * lanes)...);
    }

    template <Operand operand>
    MARL_KERNEL load(MARL_STATE)
    {
        MARL_GO_ON(operandAt<operand>(step, e, registers, step->left, position + k * lanes, accumulator)...);
    }

    template <Operand operand>
    MARL_KERNEL store(MARL_STATE)
    {
        (stored(numbersAt(registers, step->result, position + k * lanes),
                operandAt<operand>(step, e, registers, step->left, position + k * lanes, accumulator)),
         ...);
        MARL_GO_ON(accumulator...);
    }

    template <Operand operand>
    MARL_KERNEL storeSingle(MARL_STATE)
    {
        double numbers[count];
        (stored(numbers + k * lanes,
                operandAt<operand>(step, e, registers, step->left, position + k * lanes, accumulator)),
         ...);
        float* result = reinterpret_cast<float*>(registers + step->result) + position;
        for (std::size_t i = 0; i < count; ++i)
            result[i] = single(numbers[i]);
        MARL_GO_ON(accumulator...);
    }

    struct Times {
        const double* times;
        double at(std::size_t i) const { return times[i]; }
    };

    template <typename Record>
    struct Constantly {
        Record record;
        Record at(std::size_t) const { return record; }
    };

    template <Form form, RecordOperand operand>
    static auto recordsOf(const Instruction* step, const Evaluation* e, std::byte* registers, std::uint32_t place)
    {
        if constexpr (operand == RecordOperand::Register)
            return Arrays<form>(registers + place);
        else if constexpr (operand == RecordOperand::Time)
            return Times{e->times};
        else
            return Constantly<RecordOf<form>>{*std::get_if<RecordOf<form>>(static_cast<const Plain*>(step->table))};
    }

    // A rule on records. Nothing here can fail, and no row knows the others.
    template <auto rule, Form left, RecordOperand leftOperand, Form right, RecordOperand rightOperand, Form result>
    MARL_WHOLE MARL_KERNEL combine(MARL_STATE)
    {
        const auto lefts = recordsOf<left, leftOperand>(step, e, registers, step->left);
        const auto rights = recordsOf<right, rightOperand>(step, e, registers, step->right);
        if constexpr (result == Form::Number) {
            double numbers[count];
            MARL_SIDE_BY_SIDE
            for (std::size_t i = 0; i < count; ++i)
                numbers[i] = rule(lefts.at(position + i), rights.at(position + i));
            MARL_GO_ON(loaded(numbers + k * lanes)...);
        } else {
            Arrays<result> results(registers + step->result);
            MARL_SIDE_BY_SIDE
            for (std::size_t i = 0; i < count; ++i)
                results.put(position + i, rule(lefts.at(position + i), rights.at(position + i)));
            MARL_GO_ON(accumulator...);
        }
    }

    // A rule on one record.
    template <auto rule, Form operand, Form result>
    MARL_WHOLE MARL_KERNEL change(MARL_STATE)
    {
        const Arrays<operand> operands(registers + step->left);
        if constexpr (result == Form::Number) {
            double numbers[count];
            MARL_SIDE_BY_SIDE
            for (std::size_t i = 0; i < count; ++i)
                numbers[i] = rule(operands.at(position + i));
            MARL_GO_ON(loaded(numbers + k * lanes)...);
        } else {
            Arrays<result> results(registers + step->result);
            MARL_SIDE_BY_SIDE
            for (std::size_t i = 0; i < count; ++i)
                results.put(position + i, rule(operands.at(position + i)));
            MARL_GO_ON(accumulator...);
        }
    }

    template <Form form>
    MARL_KERNEL fill(MARL_STATE)
    {
        const RecordOf<form> record = *std::get_if<RecordOf<form>>(static_cast<const Plain*>(step->table));
        Arrays<form> results(registers + step->result);
        MARL_SIDE_BY_SIDE
        for (std::size_t i = 0; i < count; ++i)
            results.put(position + i, record);
        MARL_GO_ON(accumulator...);
    }

    MARL_KERNEL noiseOfVectors(MARL_STATE)
    {
        double numbers[count] = {};
        if constexpr (atOneTime) {
            numbers[0] = widened(noise(narrowed(Arrays<Form::Vector>(registers + step->left).at(position))));
        } else {
            float* results = reinterpret_cast<float*>(e->kept);
            const float* x = reinterpret_cast<const float*>(registers + step->left) + position;
            const std::size_t asked = wanted(e, position);
            noise(x, x + blockLength, x + 2 * blockLength, results, static_cast<int>(asked));
            for (std::size_t i = 0; i < asked; ++i)
                numbers[i] = widened(results[i]);
        }
        MARL_GO_ON(loaded(numbers + k * lanes)...);
    }

    // Leaves off until the stretch is computed, and is entered again then.
    MARL_KERNEL need(MARL_STATE)
    {
        const auto stretch = static_cast<std::int32_t>(step->left);
        if (e->isDone(stretch, position, atOneTime)) {
            MARL_GO_ON(accumulator...);
        }
        e->resume = step + 1;
        e->needed = stretch;
        e->neededAtOneTime = atOneTime;
        e->neededAt = position;
    }

    // A value that a few times alone need is computed at each of them.
    static constexpr std::size_t worthABlock = 4;

    // The key values around the times of the block, one after the other.
    MARL_KERNEL needKeys(MARL_STATE)
    {
        const TypedKeys& keys = *static_cast<const TypedKeys*>(step->table);
        const std::size_t end = atOneTime ? position + 1 : e->count;
        for (std::size_t i = atOneTime ? position : e->progress; i < end; ++i) {
            const Bracket bracket = bracketOf(*keys.times, e->times[i], e->holds, 0);
            for (std::size_t key = bracket.earlier; key <= bracket.later; ++key) {
                const std::int32_t stretch = keys.sources[key].stretch;
                if (stretch == KeySource::none || e->isDone(stretch, i, true))
                    continue;
                std::size_t like = i + 1;
                while (like < end && like - i < worthABlock
                       && bracketOf(*keys.times, e->times[like], e->holds, 0).earlier == bracket.earlier)
                    ++like;
                e->progress = i;
                e->resume = step;
                e->needed = stretch;
                e->neededAtOneTime = atOneTime || like - i < worthABlock;
                e->neededAt = i;
                return;
            }
        }
        e->progress = 0;
        MARL_GO_ON(accumulator...);
    }

    template <Form form>
    static RecordOf<form> keyValue(const TypedKeys& keys, std::size_t key, const Evaluation* e, std::size_t time)
    {
        const KeySource& source = keys.sources[key];
        if (source.stretch == KeySource::none)
            return *std::get_if<RecordOf<form>>(&source.constant);
        const Stretch& stretch = e->stretches[source.stretch];
        if constexpr (form == Form::WideVector)
            if (stretch.form == Form::Vector)
                return Arrays<Form::Vector>(e->registers + stretch.result).at(time);
        return Arrays<form>(e->registers + stretch.result).at(time);
    }

    template <Form form>
    MARL_KERNEL blendKeys(MARL_STATE)
    {
        const TypedKeys& keys = *static_cast<const TypedKeys*>(step->table);
        Arrays<form> results(registers + step->result);
        const std::size_t asked = wanted(e, position);
        std::size_t before = 0;
        for (std::size_t i = position; i < position + asked; ++i) {
            const Bracket bracket = bracketOf(*keys.times, e->times[i], e->holds, before);
            before = bracket.earlier;
            const RecordOf<form> earlier = keyValue<form>(keys, bracket.earlier, e, i);
            if (bracket.later == bracket.earlier)
                results.put(i, earlier);
            else
                results.put(i, blend(earlier, keyValue<form>(keys, bracket.later, e, i), bracket.factor));
        }
        MARL_GO_ON(accumulator...);
    }

    MARL_KERNEL blendNumberKeys(MARL_STATE)
    {
        const TypedKeys& keys = *static_cast<const TypedKeys*>(step->table);
        double numbers[count] = {};
        const std::size_t asked = wanted(e, position);
        std::size_t before = 0;
        for (std::size_t i = 0; i < asked; ++i) {
            const Bracket bracket = bracketOf(*keys.times, e->times[position + i], e->holds, before);
            before = bracket.earlier;
            numbers[i] = bracket.later == bracket.earlier
                ? keys.numbers[bracket.earlier]
                : blend(keys.numbers[bracket.earlier], keys.numbers[bracket.later], bracket.factor);
        }
        MARL_GO_ON(loaded(numbers + k * lanes)...);
    }

    // While times that vary are computed one key after the other, three arrays say of each time of the block
    // what the last key's time was, which key's is the pair around it, and how far it is on the way between
    // the two. The first key's number, and what lies before all of them, is not found by its neighbors.
    static constexpr double notFound = -1, beforeAll = -2;

    struct FoundKeys {
        FoundKeys(std::byte* registers, std::uint32_t place)
            : previous(reinterpret_cast<double*>(registers + place)), earlier(previous + blockLength),
              factor(earlier + blockLength)
        {}
        double *previous, *earlier, *factor;
    };

    // The times may come in any order, some perhaps NaN: the first neighbors that have the time between them
    // count.
    MARL_KERNEL nextKeyTime(MARL_STATE)
    {
        double keyTimes[count];
        (stored(keyTimes + k * lanes, accumulator), ...);
        const FoundKeys found(registers, step->result);
        const double key = step->constant;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = position + i;
            const double time = e->times[at];
            if (key == 0) {
                found.earlier[at] = time > keyTimes[i] ? notFound : beforeAll;
            } else if (found.earlier[at] == notFound && time >= found.previous[at] && !(time >= keyTimes[i])) {
                found.earlier[at] = key - 1;
                found.factor[at] = share(found.previous[at], time, keyTimes[i]);
            }
            found.previous[at] = keyTimes[i];
        }
        MARL_GO_ON(accumulator...);
    }

    template <Form form>
    MARL_KERNEL blendVaryingKeys(MARL_STATE)
    {
        const TypedKeys& keys = *static_cast<const TypedKeys*>(step->table);
        const FoundKeys found(registers, step->left);
        Arrays<form> results(registers + step->result);
        const auto valueOf = [&](std::size_t key) {
            return *std::get_if<RecordOf<form>>(&keys.sources[key].constant);
        };
        for (std::size_t i = position; i < position + count; ++i) {
            if (found.earlier[i] == beforeAll) {
                results.put(i, valueOf(0));
            } else if (e->times[i] >= found.previous[i]) {
                results.put(i, valueOf(keys.sources.size() - 1));
            } else {
                const auto earlier = static_cast<std::size_t>(found.earlier[i]);
                results.put(
                    i, e->holds ? valueOf(earlier) : blend(valueOf(earlier), valueOf(earlier + 1), found.factor[i]));
            }
        }
        MARL_GO_ON(accumulator...);
    }

    MARL_KERNEL callFunction(MARL_STATE)
    {
        callTyped(*static_cast<const TypedFunction*>(step->table), *e, step->result, position, wanted(e, position));
        MARL_GO_ON(accumulator...);
    }

    MARL_KERNEL lookAtStopFlag(MARL_STATE)
    {
        e->budget->lookAtStopFlag();
        MARL_GO_ON(accumulator...);
    }

    // Goes back to where the stretch began until all times of the block are computed.
    [[gnu::always_inline]] static inline void again(const Instruction* step, Evaluation* e, std::byte* registers,
                                                    std::size_t position, Same<Number, k>... accumulator)
    {
        if (!atOneTime && position + count < e->end) {
            MARL_JUMP goOn(step - step->left, e, registers, position + count, accumulator...);
        }
        e->needed = KeySource::none;
    }

    MARL_KERNEL finish(MARL_STATE)
    {
        MARL_JUMP again(step, e, registers, position, accumulator...);
    }

    MARL_KERNEL finishNumber(MARL_STATE)
    {
        (stored(numbersAt(registers, step->result, position + k * lanes), accumulator), ...);
        MARL_JUMP again(step, e, registers, position, accumulator...);
    }

    MARL_KERNEL finishColumn(MARL_STATE)
    {
        double* column = atOneTime ? &e->number : e->columns[step->result] + position;
        (stored(column + k * lanes, accumulator), ...);
        MARL_JUMP again(step, e, registers, position, accumulator...);
    }
};

} // namespace
} // namespace Marl
