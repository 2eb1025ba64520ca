// The resolution pass: prepares a parsed program for evaluation.
#pragma once

#include <marl/api.h>
#include <marl/ast/nodes.h>
#include <marl/ast/program.h>
#include <marl/ast/visitor.h>

namespace Marl {

// Walks one property's expression. It binds every property reference to the first property of
// that name, records there who refers to it, hands the parser to the nodes that look scene
// objects up, sorts the keys of every interpolation, and notes in every node which property holds it:
//
//     DecorationVisitor pass;
//     pass.setProgram(&program);
//     pass.setParser(&parser);
//     for each property of each object:
//         pass.setObject(object);
//         pass.setProperty(property);
//         property->expression->accept(&pass);
//
// A reference to an object or property that the program lacks throws BadRefException, a null
// child or program InvalidOpException; what was walked before stays prepared, and the pass may
// go on with the next property. Walking an expression twice records its references twice.
//
// The pass borrows all it is given. It runs alone, before any evaluation of the tree.
class MARL_API DecorationVisitor final : public Visitor {
public:
    DecorationVisitor() = default;

    // clang-format off
    void setProgram(ProgramAST* given)   { program = given; }
    void setParser(Parser* given)        { parser = given; }
    void setObject(ObjectAST* given)     { object = given; }
    void setProperty(PropertyAST* given) { property = given; }
    // clang-format on

    void visitBinaryExpression(BinaryExpressionAST* node) override;
    void visitNumberExpression(NumberExpressionAST* node) override;
    void visitBuiltinFunction(BuiltinFunctionAST* node) override;
    void visitListExpression(ListExpressionAST* node) override;
    void visitPropertyReferenceAST(PropertyReferenceAST* node) override;
    void visitArrayExpressionAST(ArrayExpressionAST* node) override;
    void visitInterpolateExpression(InterpolateExpressionAST* node) override;
    void visitNegatedExpression(NegatedExpressionAST* node) override;
    void visitVectorExpression(VectorExpressionAST* node) override;
    void visitMatrixExpression(MatrixExpressionAST* node) override;
    void visitAColorExpression(AColorExpressionAST* node) override;
    void visitTransformExpression(TransformExpressionAST* node) override;
    void visitTransformHexExpression(TransformHexExpressionAST* node) override;
    void visitStringExpression(StringExpressionAST* node) override;
    void visitObjectReference(ObjectReferenceAST* node) override;
    void visitListVectorExpressionAST(ListTypeExpressionAST<Vector>* node) override;
    void visitListIntExpressionAST(ListTypeExpressionAST<int>* node) override;
    void visitListColorExpressionAST(ListTypeExpressionAST<Color>* node) override;
    void visitListFloatExpressionAST(ListTypeExpressionAST<float>* node) override;
    void visitListStringExpressionAST(ListTypeExpressionAST<CharString>* node) override;
    void visitRuntimeValueAST(RuntimeValueAST* node) override;
    void visitObjectIDExpression(ObjectIDExpressionAST* node) override;
    void visitFunctionExpression(FunctionExpressionAST* node) override;

private:
    class Level;

    void note(ExpressionAST* node);
    void walk(ExpressionAST* parent, ExpressionAST* node);
    template <typename... Nodes>
    void walkAll(ExpressionAST* parent, Nodes... nodes);
    void bind(PropertyReferenceAST& reference);

    ProgramAST* program = nullptr;
    Parser* parser = nullptr;
    ObjectAST* object = nullptr;
    PropertyAST* property = nullptr;

    int depth = 0;
};

} // namespace Marl
