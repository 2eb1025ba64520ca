// A value that is the tree of itself. All trees belong to one program that lives as long as the process.
#pragma once

#include <marl/marl.h>

#include <concepts>
#include <string>

namespace Bench {

inline Marl::ProgramAST& program()
{
    static Marl::ProgramAST all;
    return all;
}

struct Tree {
    explicit Tree(Marl::ExpressionAST* made) : node(made) {}
    Tree(std::convertible_to<double> auto number)
    {
        auto* made = program().make<Marl::NumberExpressionAST>();
        made->number = static_cast<double>(number);
        node = made;
    }

    Marl::ExpressionAST* node;
};

inline Tree joined(Tree left, Marl::TOKENTYPE op, Tree right)
{
    auto* made = program().make<Marl::BinaryExpressionAST>();
    made->left = left.node;
    made->op = op;
    made->right = right.node;
    return Tree(made);
}

inline Tree called(Marl::Builtin function, Marl::ExpressionAST* argument = nullptr)
{
    auto* made = program().make<Marl::BuiltinFunctionAST>();
    made->functionId = static_cast<int>(function);
    made->argCount = argument ? 1 : 0;
    made->args[0] = argument;
    return Tree(made);
}

inline Tree vec(Tree x, Tree y, Tree z)
{
    auto* made = program().make<Marl::VectorExpressionAST>();
    made->valueType = static_cast<int>(Marl::ValueType::Vector);
    made->components[0] = x.node;
    made->components[1] = y.node;
    made->components[2] = z.node;
    return Tree(made);
}

inline Tree mat(Tree first, Tree second, Tree third)
{
    auto* made = program().make<Marl::MatrixExpressionAST>();
    made->columns[0] = first.node;
    made->columns[1] = second.node;
    made->columns[2] = third.node;
    return Tree(made);
}

inline Tree xform(Tree matrix, Tree offset)
{
    auto* made = program().make<Marl::TransformExpressionAST>();
    made->matrix = matrix.node;
    made->offset = offset.node;
    return Tree(made);
}

// Prepares a tree for evaluation.
inline Tree resolved(Tree tree)
{
    Marl::DecorationVisitor pass;
    pass.setProgram(&program());
    tree.node->accept(&pass);
    return tree;
}

// A property, and a reference to it for each use.
class KeptTree {
public:
    explicit KeptTree(Tree value) : name("kept" + std::to_string(count++))
    {
        static Marl::ObjectAST* const object = program().addObject("kept");
        object->addProperty(name.c_str(), resolved(value).node);
    }
    Tree operator()() const
    {
        auto* made = program().make<Marl::PropertyReferenceAST>();
        made->objectName = "kept";
        made->propertyName = name.c_str();
        return Tree(made);
    }

private:
    static inline int count = 0;
    std::string name;
};
inline KeptTree kept(Tree value)
{
    return KeptTree(value);
}

// clang-format off
inline Tree operator+(Tree a, Tree b) { return joined(a, Marl::TOKEN_PLUS, b); }
inline Tree operator-(Tree a, Tree b) { return joined(a, Marl::TOKEN_MINUS, b); }
inline Tree operator*(Tree a, Tree b) { return joined(a, Marl::TOKEN_MULTIPLY, b); }
inline Tree operator/(Tree a, Tree b) { return joined(a, Marl::TOKEN_DIVIDE, b); }
inline Tree dot(Tree a, Tree b)       { return a * b; }

inline Tree sqrt(Tree a)  { return called(Marl::Builtin::Sqrt, a.node); }
inline Tree sin(Tree a)   { return called(Marl::Builtin::Sin, a.node); }
inline Tree cos(Tree a)   { return called(Marl::Builtin::Cos, a.node); }
inline Tree noise(Tree a) { return called(Marl::Builtin::Noise, a.node); }
inline Tree timeTree()    { return called(Marl::Builtin::Time); }
// clang-format on

} // namespace Bench
