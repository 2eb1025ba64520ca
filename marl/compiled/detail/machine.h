// The interpreter of compiled programs.
#pragma once

#include <marl/compiled/batch_evaluator.h>
#include <marl/compiled/detail/column_data.h>
#include <marl/compiled/detail/program.h>
#include <marl/compiled/detail/result.h>
#include <marl/value/exceptions.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Marl {

class BatchEvaluator::Machine {
public:
    explicit Machine(const CompiledProgram& compiled);

    void evaluate(std::span<const double> times);
    Value valueAt(double time, std::size_t root);

    std::vector<Column> columns;
    unsigned int dontInterpolate = 0;
    int depthLimit = 10'000;

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

    void beginBatch();
    void beginBlock(const double* times, std::size_t count);
    void prepareColumns(std::size_t count);
    void evaluateBlock(std::size_t start);
    void finishColumns();
    bool isWalked(const CompiledRoot& root) const { return root.height > depthLimit; }
    Result walk(ExpressionAST* node) const;
    Result walked(ExpressionAST* expression);
    template <typename Record>
    void finishAs(Column::Data& column, Record (Value::*get)() const);
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
    void execute(const GenericInstruction& instruction);
    void push(Source source, bool isSurelyNeeded);
    void operate(TOKENTYPE op);
    void bracketVarying(const GenericInstruction& instruction);
    void evaluateSelected();
    Value popValue();
    double popNumber();
    Result failureOf(const Exception& thrown);

    const CompiledProgram* program;
    Evaluation typed;
    std::unique_ptr<std::byte[]> registers;
    std::vector<StretchState> states;
    std::vector<TypedFrame> typedFrames;
    std::vector<double*> columnPlaces;
    double paddedTimes[blockLength];
    double oneTime = 0;

    std::uint64_t batch = 0;
    std::size_t genericTime = 0; // of the block
    std::vector<GenericFrame> genericFrames;
    std::vector<Result> stack;
    std::vector<Kept> kept;
    Result latestFailure; // shared by the times that fail alike
};

} // namespace Marl
