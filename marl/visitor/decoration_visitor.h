// The resolution pass: prepares a parsed program for evaluation.
#pragma once

#include <marl/api.h>
#include <marl/ast/nodes.h>
#include <marl/ast/program.h>
#include <marl/ast/visitor.h>

#include <vector>

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
// The pass borrows all it is given. It runs alone, before any evaluation of the tree, as do edits of the tree
// and changed() later: nothing may be evaluated or compiled meanwhile.
class MARL_API DecorationVisitor final : public Visitor {
public:
    DecorationVisitor() = default;

    // clang-format off
    void setProgram(ProgramAST* given)   { program = given; }
    void setParser(Parser* given)        { parser = given; }
    void setObject(ObjectAST* given)     { object = given; }
    void setProperty(PropertyAST* given) { property = given; }
    // clang-format on

    // Notes anew what an edit has made untrue. Called after an edit of this property: of its tree or its data,
    // after its expression was replaced, after it was renamed, added, or removed by ProgramAST::remove().
    // After the removal of an object it is called for each of the object's properties. Then
    // - the records of the references in it are those of its present expression, however often it is walked; a
    //   removed property has none;
    // - references elsewhere that no longer find it, or now find it instead of a later one of its name, are
    //   bound again, the whole property that holds them being noted anew;
    // - keys in it and in its dependents are sorted, or stand as they were written, by what their times now are;
    // - elements of data lists in it are made anew when they are next asked for.
    //
    // A reference that could not be bound has no record. Only changed() for the property that holds it binds
    // it, as soon as its names find something. Known are the keys of expressions that the pass, or
    // changed(), walked as a whole.
    //
    // Throws what the pass would throw, the first failure of all, but only when everything else is
    // done: a reference that finds nothing is unbound, and all others are bound, also behind it. Where an
    // expression is nested too deeply the references behind that place are unbound. After std::bad_alloc,
    // which comes out in the same way, call it for every property. The pass' own object and property stay as they
    // were set.
    void changed(PropertyAST* edited);

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
    class Children;

    void note(ExpressionAST* node);
    template <typename... Nodes>
    void walkAll(ExpressionAST* parent, Nodes... nodes);
    template <typename T>
    void visitDataList(ListTypeExpressionAST<T>* node);
    void bind(PropertyReferenceAST& reference);

    void noteAnew(PropertyAST* given);
    std::vector<PropertyAST*> holdersAstrayOf(const PropertyAST* target) const;

    ProgramAST* program = nullptr;
    Parser* parser = nullptr;
    ObjectAST* object = nullptr;
    PropertyAST* property = nullptr;

    int depth = 0;
    bool isNotingAnew = false;
    bool wasTooDeep = false; // so what is left of the expression is not walked
};

} // namespace Marl
