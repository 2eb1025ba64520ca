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
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace Marl::Tests {

// What may stand where a node is needed: a node, null for a missing one, a number or any other value.
struct Operand {
    Operand(ExpressionAST* node) : what(node) {}
    Operand(std::derived_from<ExpressionAST> auto* node) : what(node) {}
    Operand(std::nullptr_t) : what(nullptr) {}
    Operand(float number) : what(Value(static_cast<double>(number))) {}
    Operand(const std::convertible_to<Value> auto& value) : what(Value(value)) {}

    std::variant<ExpressionAST*, Value> what;
};

struct Key {
    Operand time, value;
};

// Finds the same object under every name, and nothing under none.
struct FixedParser final : Parser {
    explicit FixedParser(Object* given) : object(given) {}
    Object* findObject(const char* name) override { return name ? object : nullptr; }

    Object* object;
};

// Owns the nodes that it makes.
class Tree {
public:
    ProgramAST program;

    // A node of the kind whose literal the value is.
    ExpressionAST* node(const Operand& operand);

    // clang-format off
    BinaryExpressionAST* binary(const Operand& left, int token, const Operand& right);
    BinaryExpressionAST* sum(const Operand& left, const Operand& right)            { return binary(left, TOKEN_PLUS, right); }
    BinaryExpressionAST* difference(const Operand& left, const Operand& right)     { return binary(left, TOKEN_MINUS, right); }
    BinaryExpressionAST* product(const Operand& left, const Operand& right)        { return binary(left, TOKEN_MULTIPLY, right); }
    BinaryExpressionAST* quotient(const Operand& left, const Operand& right)       { return binary(left, TOKEN_DIVIDE, right); }
    NegatedExpressionAST* negated(const Operand& operand)                          { return with(&NegatedExpressionAST::operand, node(operand)); }
    VectorExpressionAST* vec(const Operand& x, const Operand& y, const Operand& z, ValueType type = ValueType::Vector);
    VectorExpressionAST* rgb(const Operand& r, const Operand& g, const Operand& b) { return vec(r, g, b, ValueType::Color); }
    AColorExpressionAST* rgba(const Operand& r, const Operand& g, const Operand& b, const Operand& alpha);
    MatrixExpressionAST* mat(const Operand& first, const Operand& second, const Operand& third);
    TransformExpressionAST* xform(const Operand& matrix, const Operand& offset);
    ListExpressionAST* list(const std::vector<Operand>& items);
    InterpolateExpressionAST* keys(std::initializer_list<Key> keys);
    InterpolateExpressionAST* sortedKeys(std::initializer_list<Key> keys); // constant times are known then
    BuiltinFunctionAST* call(Builtin function, std::initializer_list<Operand> args = {}, float sample = 0);
    ArrayExpressionAST* element(const Operand& target, std::initializer_list<Operand> indices);
    PropertyReferenceAST* reference(const char* object, const char* property);
    PropertyReferenceAST* reference(PropertyAST* bound)  { return with(&PropertyReferenceAST::property, bound); }
    // Of an object without name.
    PropertyAST* property(const Operand& expression)     { return program.addObject(nullptr)->addProperty(nullptr, node(expression)); }
    // clang-format on

    // A host's own node that stands for another one. Whenever a visitor comes, and whenever an
    // element is asked for, its letter is added to the trail.
    ExpressionAST* traced(char letter, const Operand& operand);
    std::string trail;

    // A host's own node that cannot be evaluated: "Failed on purpose.".
    ExpressionAST* failing();

private:
    // A new node with one field set.
    template <typename Node, typename Field>
    Node* with(Field Node::*field, std::type_identity_t<Field> value)
    {
        Node* made = program.make<Node>();
        made->*field = std::move(value);
        return made;
    }
    template <typename Node, std::size_t count>
    Node* with(ExpressionAST* (Node::*slots)[count], std::initializer_list<Operand> operands);

    std::deque<FixedParser> parsers;
};

// The message of the failure that the action throws.
template <std::derived_from<Exception> Failure = InvalidOpException>
std::string messageOf(std::invocable auto action)
try {
    action();
    return "no failure";
} catch (const Failure& failure) {
    return failure.what();
}

// What the failure knows beside its message: "node ..., in property, of number and vector, 7 of 2, byte 5". Of a
// circle any of its references may be named, and so none is shown.
std::string detailsOf(const Exception& failure);

Value evaluated(ExpressionAST* node, double time = 0, bool hold = false);

// Shown as text, or as "fails: " and the message.
std::string resultOf(ExpressionAST* node, double time = 0, bool hold = false);

} // namespace Marl::Tests
