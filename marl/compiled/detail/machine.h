// The interpreter of compiled programs, and the interpreters of an evaluator.
#pragma once

#include <marl/compiled/batch_evaluator.h>
#include <marl/compiled/detail/column_data.h>
#include <marl/compiled/detail/compilation.h>
#include <marl/compiled/detail/program.h>
#include <marl/compiled/detail/result.h>
#include <marl/value/exceptions.h>
#include <marl/visitor/budget.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Marl {

struct EvaluationSettings {
    unsigned int dontInterpolate = 0;
    int depthLimit = 10'000;
    Budget* budget = nullptr; // of the evaluator
};

// A block of times of a batch.
struct Block {
    const double* times;         // the last one repeated up to the end
    std::size_t start;           // of the batch
    std::size_t count;           // of the block
    std::size_t end;             // a multiple of what a kernel computes at once
    double* const* columnPlaces; // where numbers go that nothing else needs
};

// Runs one program.
class BatchEvaluator::Machine : public EvaluationSettings {
public:
    Machine(std::shared_ptr<const CompiledProgram> compiled, const EvaluationSettings& settings);

    Value valueAt(double time, const CompiledRoot& root);

    // A batch: its columns are prepared, then the roots are evaluated at each block.
    void beginBatch();
    void prepare(const CompiledRoot& root, Column::Data& column) const;
    void begin(const Block& block);
    void evaluate(const CompiledRoot& root, Column::Data& column, const Block& block, double*& columnPlace);

    bool runs(const CompiledProgram* wanted) const { return program.get() == wanted; }

private:
    // A typed stretch that waits for what it needs.
    struct TypedFrame {
        std::int32_t stretch;
        const Instruction* instruction;
        bool atOneTime;
        std::size_t position;
        std::size_t progress;
    };

    // A generic stretch at the time of the block that is being evaluated.
    struct GenericFrame {
        std::uint32_t stretch;
        const GenericInstruction* instruction;
    };

    // The results of a generic stretch that several need, or that does not vary.
    struct Kept {
        std::vector<Result> results;        // one a time of the block, or one for the batch
        std::vector<std::uint64_t> numbers; // of the block, or the batch, that each belongs to
        bool isActive = false;              // being evaluated at this moment
    };

    void beginBlock(const double* times, std::size_t count);
    bool isWalked(const CompiledRoot& root) const { return root.height > depthLimit; }
    Result walk(ExpressionAST* node) const;
    Result walked(ExpressionAST* expression);
    static void fillConstant(Column::Data& column, const Plain& value);
    void copyToColumn(const Stretch& stretch, Column::Data& column, std::size_t start);

    void computeTyped(std::uint32_t stretch, bool atOneTime, std::size_t position);
    void run(const Instruction* instruction, std::size_t position, bool atOneTime);
    void markDone(const TypedFrame& frame);
    Value typedValue(std::uint32_t stretch, std::size_t time) const;
    Value constantValue(std::uint32_t constant) const;

    Result evaluateGeneric(std::uint32_t stretch, std::size_t time);
    void runGeneric();
    bool enter(std::uint32_t stretch);
    void leave(Result result);
    void hold(const GenericStretch& stretch, const Result& result);
    void takeMemory(const Result& result);
    void execute(const GenericInstruction& instruction);
    void push(Source source, bool isSurelyNeeded);
    void operate(TOKENTYPE op);
    void bracketVarying(const GenericInstruction& instruction);
    void evaluateSelected();
    Value popValue();
    double popNumber();
    Result failureOf(const Exception& thrown);

    std::shared_ptr<const CompiledProgram> program; // an update may have taken it out of use
    Evaluation typed;
    std::unique_ptr<std::byte[]> registers;
    std::vector<StretchState> states;
    std::vector<TypedFrame> typedFrames;
    double oneTime = 0;

    std::uint64_t batch = 0;
    std::size_t genericTime = 0; // of the block
    std::vector<GenericFrame> genericFrames;
    std::vector<Result> stack;
    std::vector<Kept> kept;
    std::uint64_t bytesKeptForBlock = 0; // where the evaluator's memory is limited
    std::uint64_t bytesKeptForBatch = 0;
    Result latestFailure; // shared by the times that fail alike
};

// A machine for each program, made when it is first needed, and the columns of all.
class BatchEvaluator::Machines {
public:
    explicit Machines(const Compilation& compiled);

    void evaluate(std::span<const double> times);
    Value valueAt(double time, std::size_t expression)
    {
        if (compilation->version != 0) [[unlikely]]
            return valueAfterUpdate(time, roots[expression]);
        return first->valueAt(time, roots[expression]);
    }

    template <typename Setting>
    void set(Setting EvaluationSettings::*setting, Setting value)
    {
        settings.*setting = value;
        for (const auto& machine : machines)
            if (machine)
                (*machine).*setting = value;
    }

    std::vector<Column> columns;
    Budget budget;

private:
    void catchUp();
    void makeReady(std::size_t part);
    Value valueAfterUpdate(double time, const CompiledRoot& root);
    void prepareColumns(std::size_t count);
    void evaluateBlock(const Block& block);
    void finishColumns();
    template <typename Record>
    static void finishAs(Column::Data& column, Record (Value::*get)() const);

    const Compilation* compilation;
    const CompiledRoot* roots; // of it, by column
    Machine* first;            // until there is an update
    EvaluationSettings settings;
    std::uint64_t version = 0;                      // of the compilation that the machines are for
    std::vector<std::unique_ptr<Machine>> machines; // by part
    std::vector<double*> columnPlaces;
    double paddedTimes[blockLength];
};

} // namespace Marl
