// From the graph of the trees to a program.
#pragma once

#include <marl/compiled/detail/graph.h>
#include <marl/compiled/detail/program.h>

#include <initializer_list>
#include <optional>
#include <span>
#include <vector>

namespace Marl {

// Compiles what the roots need, stretch by stretch, without recursion.
class Compiler {
public:
    // The roots say which expressions, and in which columns; the rest of them is filled in.
    Compiler(std::span<CompiledRoot> roots, CompiledProgram& program);

private:
    // Where a typed value is to go, and in which form.
    struct Destination {
        enum class Where : unsigned char { Accumulator, Fresh, Place, PlaceOfSingles };
        Where where = Where::Accumulator;
        Form form = Form::Number;
        std::uint32_t place = 0;
    };

    struct Place {
        std::uint32_t at = 0;
        Form form = Form::Number;
        bool isFresh = false; // given back after its last use
    };

    // A node whose operands are being computed.
    struct Frame {
        NodeIndex node = 0;
        Destination to;
        unsigned stage = 0;
        Place operands[2];
        std::uint32_t target = 0;
        bool rightFirst = false;
        TypedFunction* function = nullptr;
    };

    // A number that needs no computation.
    struct Simple {
        Operand where;
        double constant = 0;
        std::uint32_t place = 0;
    };

    Source sourceOf(NodeIndex node);
    std::uint32_t typedStretch(NodeIndex node);
    std::uint32_t genericStretch(NodeIndex node);

    void compileTyped(std::uint32_t stretch);
    void addNeeds(NodeIndex root);
    const TypedKeys& keysOf(NodeIndex node);
    void compute(NodeIndex node, Destination to);
    void advance();
    void deliverKnown(NodeIndex node, Destination to);
    void operateOnNumbers(NumberRule rule);
    bool joinOperand(NumberRule rule, NodeIndex left, NodeIndex right);
    bool isShort(NodeIndex node);
    void combineRecords(const RecordKernel& rule);
    void call();
    void blendVaryingKeys();
    void fillComponents();
    void callFunction();
    void push(NodeIndex node, Destination to);
    void pop() { frames.pop_back(); }
    bool fetch(std::initializer_list<Form> forms);
    bool fetchNext(Form form);
    void deliverNumber(Destination to) { deliverNumber(to, {Operand::Accumulator}); }
    void deliverNumber(Destination to, Simple from);
    void deliverRecord(Kernel kernel, Form natural, const void* table = nullptr);
    void convert(Place from, Destination to);
    std::optional<Simple> simple(NodeIndex node);
    Form naturalForm(NodeIndex node) const;
    bool isKnown(NodeIndex node) const;
    Instruction& emit(const Kernel& kernel);
    std::uint32_t placeOf(std::uint32_t stretch);
    std::uint32_t placeOfRoots(Form form);
    std::uint32_t reserve(Form form);
    Place fresh(Form form);
    void giveBack(Place place);

    void compileGeneric(std::uint32_t stretch, NodeIndex root);
    std::uint32_t operandsOf(NodeIndex node) const;
    std::uint32_t timesOf(NodeIndex node) const;
    NodeIndex operandOf(NodeIndex node, std::uint32_t i) const;
    void emitBetween(NodeIndex node, std::uint32_t i);
    void emitLast(NodeIndex node);
    void emitKeys(NodeIndex node);
    GenericInstruction& emit(GenericTask task, NodeIndex node);

    Graph graph;
    CompiledProgram& program;
    const Kernels& kernels;

    std::vector<std::int32_t> stretchOf; // of nodes that are computed apart
    std::vector<NodeIndex> typedNodes;   // of stretches
    std::vector<NodeIndex> genericNodes;
    std::vector<std::int32_t> columnOf;  // of typed stretches: the only root that they are for
    std::vector<std::uint32_t> neededBy; // of typed stretches: the last that was found to need them
    std::unordered_map<NodeIndex, const TypedKeys*> keysOfNodes;

    std::vector<Frame> frames;
    Place latest; // what the newest computation left in a fresh place
    std::vector<std::uint32_t> freePlaces[forms];
    std::uint32_t rootPlaces[forms] = {noPlace, noPlace, noPlace, noPlace, noPlace, noPlace, noPlace};
};

} // namespace Marl
