// Builds expression trees, so that a row of a test reads like an expression.
#pragma once

#include <marl/ast/program.h>
#include <marl/value/exceptions.h>
#include <marl/value/value.h>

#include <concepts>
#include <cstddef>
#include <deque>
#include <initializer_list>
#include <string>
#include <variant>

namespace Marl::Tests {

// What may stand where a node is needed: a node, null for a missing one, a number or any other value.
class Operand {
public:
    Operand(ExpressionAST* node) : what(node) {}
    Operand(std::derived_from<ExpressionAST> auto* node) : what(node) {}
    Operand(std::nullptr_t) : what(nullptr) {}
    Operand(float number) : what(Value(static_cast<double>(number))) {}
    Operand(const std::convertible_to<Value> auto& value) : what(Value(value)) {}

private:
    friend class Tree;
    std::variant<ExpressionAST*, Value> what;
};

struct Key {
    Operand time, value;
};

// Finds the same object under every name, and nothing under none.
class FixedParser final : public Parser {
public:
    explicit FixedParser(Object* given) : object(given) {}
    Object* findObject(const char* name) override { return name ? object : nullptr; }

private:
    Object* object;
};

// Owns the nodes that it makes.
class Tree {
public:
    ProgramAST program;

    // A node of the kind whose literal the value is.
    ExpressionAST* node(const Operand& operand);

    BinaryExpressionAST* binary(const Operand& left, int token, const Operand& right);
    // clang-format off
    BinaryExpressionAST* sum(const Operand& left, const Operand& right)        { return binary(left, TOKEN_PLUS, right); }
    BinaryExpressionAST* difference(const Operand& left, const Operand& right) { return binary(left, TOKEN_MINUS, right); }
    BinaryExpressionAST* product(const Operand& left, const Operand& right)    { return binary(left, TOKEN_MULTIPLY, right); }
    BinaryExpressionAST* quotient(const Operand& left, const Operand& right)   { return binary(left, TOKEN_DIVIDE, right); }
    VectorExpressionAST* vec(const Operand& x, const Operand& y, const Operand& z, ValueType type = ValueType::Vector);
    VectorExpressionAST* rgb(const Operand& r, const Operand& g, const Operand& b) { return vec(r, g, b, ValueType::Color); }
    // clang-format on
    NegatedExpressionAST* negated(const Operand& operand);
    AColorExpressionAST* rgba(const Operand& r, const Operand& g, const Operand& b, const Operand& alpha);
    MatrixExpressionAST* mat(const Operand& first, const Operand& second, const Operand& third);
    TransformExpressionAST* xform(const Operand& matrix, const Operand& offset);
    ListExpressionAST* list(std::initializer_list<Operand> items);
    InterpolateExpressionAST* keys(std::initializer_list<Key> keys);
    BuiltinFunctionAST* call(Builtin function, std::initializer_list<Operand> args = {}, float sample = 0);
    ArrayExpressionAST* element(const Operand& target, std::initializer_list<Operand> indices);
    PropertyReferenceAST* reference(const char* object, const char* property);
    PropertyReferenceAST* reference(PropertyAST* bound);
    PropertyAST* property(const Operand& expression); // of an object without name

    // A host's own node that stands for another one. Whenever a visitor comes, and whenever an
    // element is asked for, its letter is added to the trail.
    ExpressionAST* traced(char letter, const Operand& operand);
    std::string trail;

    // A host's own node that cannot be evaluated: "Failed on purpose.".
    ExpressionAST* failing();

private:
    template <typename Node>
    Node* make(auto set);
    template <typename T>
    ListTypeExpressionAST<T>* data(PtrArray<T>&& values);
    ListExpressionAST* listOfNodes(PtrArray<Value> items);
    void fill(ExpressionAST** slots, std::initializer_list<Operand> operands);

    std::deque<FixedParser> parsers;
};

Value evaluated(ExpressionAST* node, double time = 0, bool hold = false);

// The message of the failure that the action throws.
template <std::derived_from<Exception> Failure = InvalidOpException>
std::string messageOf(std::invocable auto action)
{
    try {
        action();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "no failure";
}

// Shown as text, or as "fails: " and the message.
std::string resultOf(ExpressionAST* node, double time = 0, bool hold = false);

struct Row {
    const char* name;
    ExpressionAST* expression;
    const char* result;
};

// Evaluates each row at the time.
void expectResults(std::initializer_list<Row> rows, double time = 0);

} // namespace Marl::Tests
