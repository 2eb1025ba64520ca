// The node classes: records with public fields, null or zero at first.
//
// A node borrows the nodes below it. A null child is reported when it is needed, as
// InvalidOpException "Expression is incomplete.".
#pragma once

#include <marl/ast/expression.h>
#include <marl/ast/key_times.h>
#include <marl/ast/list_type_expression.h>
#include <marl/ast/source.h>
#include <marl/ast/token_type.h>

#include <cstdint>
#include <vector>

namespace Marl {

// left op right
class MARL_API BinaryExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;

    TOKENTYPE op = TOKENTYPE(0);
    ExpressionAST* left = nullptr;
    ExpressionAST* right = nullptr;
};

class MARL_API NumberExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;

    double number = 0;
};

// The functions by the ids that calls carry.
enum class Builtin : int {
    Time = 1,
    Sample = 2,
    Pi = 3,
    Sqr = 4,
    Sqrt = 5,
    Sin = 6,
    Cos = 7,
    Length = 8,
    Noise = 9,
    Pow = 10,
    Cross = 11,
    Uniform = 12,
};

// A call of a built-in function.
class MARL_API BuiltinFunctionAST final : public ExpressionAST {
public:
    static constexpr int maxArgs = 4;

    void accept(Visitor* visitor) override;

    int functionId = 0;
    // How many of args are set. Evaluation takes as many as the function has, whatever stands here.
    int argCount = 0;
    ExpressionAST* args[maxArgs] = {};
    // A number drawn once for this call, in [0, 1): what sample is and uniform() blends by.
    float sample = 0;
};

struct ListItem {
    ExpressionAST* expression = nullptr;
    ListItem* next = nullptr;
};

// A list of arbitrary expressions. Its elements are the items.
class MARL_API ListExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;
    ExpressionAST* getElement(int index) override;

    ListItem* firstItem = nullptr;
    ListItem* lastItem = nullptr; // behind which ProgramAST appends; null where it is not known
    int itemCount = 0;            // items beyond it are evaluated and dropped
};

// Another property's value, found by name before anything is evaluated. Its elements are
// those of the property's expression, references behind it followed.
class MARL_API PropertyReferenceAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;
    ExpressionAST* getElement(int index) override;

    CharString objectName;
    CharString propertyName;
    PropertyAST* property = nullptr; // bound by the resolution pass
};

// target[i][j]...: the element of the element, found in the tree; nothing else of the target is evaluated.
class MARL_API ArrayExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;

    std::vector<ExpressionAST*> indices;
    ExpressionAST* target = nullptr;
};

struct InterpolateKey {
    ExpressionAST* time = nullptr;
    ExpressionAST* value = nullptr;
    InterpolateKey* next = nullptr;

    // Noted by sortKeys(), counted from 1: the key's place among the keys as they were written, and as it left them.
    int written = 0;
    int sorted = 0;
};

// A value that changes over time.
class MARL_API InterpolateExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;

    // Puts the keys in ascending order of time; keys of one time stay in theirs. It runs before
    // anything is evaluated, so keys stay as written when a time is not constant or is NaN.
    // Constant are numbers, their negations, sums, differences, products and quotients, and
    // references to constant properties as far as they are bound, in at most 1,000 steps.
    //
    // It also notes constant times, so that evaluation finds its pair of keys by search: call
    // it again when keys or their times have changed. It then begins with the written order again: keys
    // appended meanwhile come last, one put between others stays behind its neighbor. Where a host has put
    // sorted keys in another order by hand, that is the written one from now on.
    void sortKeys();

    // What sortKeys() noted when every time is constant; no times otherwise.
    struct ConstantTimes {
        KeyTimes times;
        std::vector<InterpolateKey*> keys;
        int nesting = 0; // levels of the deepest time expression
    };
    const ConstantTimes& constantTimes() const { return constant; }
    void forgetConstantTimes() { constant = {}; }

    InterpolateKey* firstKey = nullptr;
    InterpolateKey* lastKey = nullptr;
    int keyCount = 0;

private:
    ConstantTimes constant;
};

class MARL_API NegatedExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;

    ExpressionAST* operand = nullptr;
};

// A vector or a color from three numbers, by the kind code in valueType: 3 or 5. Any other
// code has no value at all. Its elements are the components.
class MARL_API VectorExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;
    ExpressionAST* getElement(int index) override;

    ExpressionAST* components[3] = {};
    int valueType = 0;
};

// A matrix from the three vectors that are its columns, which are its elements.
class MARL_API MatrixExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;
    ExpressionAST* getElement(int index) override;

    ExpressionAST* columns[3] = {};
};

// A color with alpha from four numbers: red, green, blue, alpha. Its elements are the components.
class MARL_API AColorExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;
    ExpressionAST* getElement(int index) override;

    ExpressionAST* components[4] = {};
};

// A transform. Its elements are 0 the matrix and 1 the offset.
class MARL_API TransformExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;
    ExpressionAST* getElement(int index) override;

    ExpressionAST* matrix = nullptr;
    ExpressionAST* offset = nullptr;
};

// A transform written in the source as 120 hexadecimal digits: the nine floats of the
// matrix column by column, then the three doubles of the offset, each number's bits with
// the most significant digit first. White space between digits is skipped.
class MARL_API TransformHexExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;

    // Reads the text under the owner's mutex, on every call. Throws InvalidOpException with
    // what was expected and where.
    TraceTransform readFromSource();

    SourceOwner* owner = nullptr; // without owner nothing is read
    SourceStream* stream = nullptr;
    std::int64_t sourceOffset = 0;
    int length = 0;
};

// Text whose characters stay in the source until its first evaluation.
class MARL_API StringExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;

    // Reads the characters once, whichever evaluator comes first; the others wait. When the
    // stream throws, the node stays unread and the next evaluation tries again.
    void load();

    CharString scenePath;
    CharString text;
    SourceOwner* owner = nullptr; // without owner nothing is read
    SourceStream* stream = nullptr;
    std::int64_t sourceOffset = 0;
    int length = 0; // bytes
    int loaded = 0; // non-zero once text holds the characters
};

// An object of the running scene, looked up at every evaluation.
class MARL_API ObjectReferenceAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;

    CharString objectName;
    Parser* parser = nullptr; // given by the resolution pass
};

// A property of an object of the running scene; only the object is looked up at evaluation.
class MARL_API RuntimeValueAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;

    CharString objectName;
    CharString propertyName;
    Parser* parser = nullptr; // given by the resolution pass
};

class MARL_API ObjectIDExpressionAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override;

    ObjectID objectID;
};

} // namespace Marl
