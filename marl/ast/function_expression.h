// Functions that a host brings.
#pragma once

#include <marl/api.h>
#include <marl/ast/expression.h>
#include <marl/value/value.h>

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace Marl {

// What a function may know beside its arguments.
struct Moment {
    double time = 0;
    bool holdsKeys = false; // keys hold the earlier value instead of blending
};

// The kinds of a function's arguments and of its value, each a number, vector, matrix, color, alpha color or
// transform.
struct FunctionKinds {
    std::vector<ValueType> takes;
    ValueType gives = ValueType::Double;
};

// Arguments of a function at several times, and the place for its values.
//
// A record lies component by component, each component an array with one entry a time: a number is one array
// of doubles, a vector three (x, y, z), a color three of floats, an alpha color four, a matrix nine (column by
// column), a transform the nine floats of its matrix and the three doubles of its offset. Component c begins
// `stride` entries behind component c - 1.
struct FunctionBlock {
    struct Arrays {
        float* floats = nullptr;
        double* doubles = nullptr;
    };

    std::size_t count = 0;
    std::size_t stride = 0;
    const double* times = nullptr;
    bool holdsKeys = false;
    std::span<const Arrays> arguments; // to be read
    Arrays values;
};

// A host derives from it, sets the arguments and makes it as any other node. An evaluator computes the
// arguments in their order, each one level deeper, and then calls the function:
//
//     class Clamp final : public FunctionExpressionAST {
//         Value call(std::span<const Value> arguments, const Moment&) override
//         {
//             const double x = arguments[0].getDouble();
//             return std::clamp(x, arguments[1].getDouble(), arguments[2].getDouble());
//         }
//         bool isPure() const override { return true; }
//     };
//
// Several threads may be in one function at once.
class MARL_API FunctionExpressionAST : public ExpressionAST {
public:
    void accept(Visitor* visitor) final;

    // The value for arguments of any kinds; what it throws is the evaluation's failure, or leaves the evaluator
    // when it does not derive from Exception. The arguments are there during the call only.
    virtual Value call(std::span<const Value> arguments, const Moment& moment) = 0;

    // Whether the value follows from the arguments alone, which are then all that varies. A pure function may be
    // called while expressions are compiled, and for times that nobody asked for.
    virtual bool isPure() const { return false; }

    // A function that says its kinds never throws for arguments of these kinds, and its value is of that kind:
    // compiled, it is computed in blocks of times, some of which perhaps nobody asked for.
    virtual std::optional<FunctionKinds> kinds() const { return std::nullopt; }

    // Computes all values of a block, to the bits that call() gives. False where a function has no form for
    // blocks; then it is called for one time after the other.
    virtual bool callBlock(const FunctionBlock&) { return false; }

    std::vector<ExpressionAST*> arguments; // borrowed
};

} // namespace Marl
