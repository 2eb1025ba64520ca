// A compiled program: stretches of typed instructions, and stretches of generic ones.
#pragma once

#include <marl/ast/nodes.h>
#include <marl/compiled/detail/kernels.h>

#include <cstdint>
#include <deque>
#include <unordered_map>
#include <vector>

namespace Marl {

// Where a value that is computed apart comes from.
struct Source {
    enum class Where : unsigned char { Constant, Typed, Generic };
    Where where = Where::Constant;
    std::uint32_t index = 0;
};

// Generic instructions work on a stack of results, at one time. A failure ends the whole stretch, for nothing
// in it could do without.
enum class GenericTask : unsigned char {
    Push, // what a source gives; a generic stretch passes on that there is no value
    PushTime,
    PushUndefined,
    PushNothing,
    PushNode, // the whole whose element is selected
    Visit,    // what a walk leaves of a leaf
    Fail,
    RequireValue,  // an operand must have one
    RequireNumber, // the operand on top must be one, else the complaint
    Operate,
    Negate,
    Call,
    CallFunction, // of the host's, with as many arguments as `count` says
    MakeVector,
    MakeColor,
    MakeAColor,
    MakeMatrix,
    MakeTransform,
    MakeList,        // of as many results as `count` says
    BracketKnown,    // the keys around the time
    BracketVarying,  // likewise, from as many times on the stack as `count` says
    PushEarlier,     // the earlier key's value
    SkipUnlessBlend, // goes on `count` instructions further where that value holds
    PushLater,
    Blend,
    SelectElement,    // the node on the stack gives its element at the index on top
    EvaluateSelected, // the value of the node on the stack
    Return,
};

struct GenericKeys {
    const KeyTimes* times = nullptr; // unless they vary
    std::vector<Source> sources;
};

struct GenericInstruction {
    GenericTask task;
    std::uint32_t count = 0;
    Source source;
    ExpressionAST* node = nullptr;
    const char* complaint = nullptr;
    void (*failure)() = nullptr;
    const GenericKeys* keys = nullptr;
};

struct GenericStretch {
    std::uint32_t firstInstruction = 0;
    bool isKept = false; // for the time, because several need it
    bool varies = false; // else it is kept for the batch
};

// One of the compiled expressions.
struct CompiledRoot {
    ExpressionAST* expression = nullptr;
    const PropertyAST* heldBy = nullptr; // null where nobody can say
    std::uint32_t column = 0;            // its place among all expressions
    std::uint32_t part = 0;              // of the compilation
    bool isWholeProperty = false;
    Source source;
    Typed kind = Typed::Number; // of a constant or typed one
    bool fillsColumn = false;   // its stretch writes numbers to the column and nowhere else
    bool varies = false;
    bool isAlone = false;                     // it fills a column and needs no other stretch
    const Instruction* instruction = nullptr; // then: its first
    int height = 0;
};

struct CompiledProgram {
    std::size_t size = 0; // nodes that it was compiled from

    const Kernels* kernels = nullptr;
    std::vector<Instruction> instructions;
    std::vector<Stretch> stretches;
    std::deque<TypedKeys> typedKeys;
    std::deque<TypedFunction> typedFunctions;
    std::deque<Plain> constants;
    std::size_t registersSize = 0;

    std::vector<GenericInstruction> genericInstructions;
    std::vector<GenericStretch> genericStretches;
    std::deque<GenericKeys> genericKeys;
    std::unordered_map<const ExpressionAST*, Source> elements; // that a varying index may select
};

} // namespace Marl
