#include <host/analysis/children.h>

namespace Marl::Host {

namespace {

class ChildCollector final : public Visitor {
public:
    explicit ChildCollector(std::vector<ExpressionAST*>& given) : children(given) {}

    // clang-format off
    void visitBinaryExpression(BinaryExpressionAST* node) override         { add(node->left), add(node->right); }
    void visitNumberExpression(NumberExpressionAST*) override              {}
    void visitBuiltinFunction(BuiltinFunctionAST* node) override           { addAll(node->args); }
    void visitListExpression(ListExpressionAST* node) override             { for (auto* item = node->firstItem; item; item = item->next) add(item->expression); }
    void visitPropertyReferenceAST(PropertyReferenceAST*) override         {}
    void visitArrayExpressionAST(ArrayExpressionAST* node) override        { add(node->target), addAll(node->indices); }
    void visitInterpolateExpression(InterpolateExpressionAST* node) override { for (auto* key = node->firstKey; key; key = key->next) add(key->time), add(key->value); }
    void visitNegatedExpression(NegatedExpressionAST* node) override       { add(node->operand); }
    void visitVectorExpression(VectorExpressionAST* node) override         { addAll(node->components); }
    void visitMatrixExpression(MatrixExpressionAST* node) override         { addAll(node->columns); }
    void visitAColorExpression(AColorExpressionAST* node) override         { addAll(node->components); }
    void visitTransformExpression(TransformExpressionAST* node) override   { add(node->matrix), add(node->offset); }
    void visitTransformHexExpression(TransformHexExpressionAST*) override  {}
    void visitStringExpression(StringExpressionAST*) override              {}
    void visitObjectReference(ObjectReferenceAST*) override                {}
    void visitListVectorExpressionAST(ListTypeExpressionAST<Vector>*) override {}
    void visitListIntExpressionAST(ListTypeExpressionAST<int>*) override   {}
    void visitListColorExpressionAST(ListTypeExpressionAST<Color>*) override {}
    void visitListFloatExpressionAST(ListTypeExpressionAST<float>*) override {}
    void visitListStringExpressionAST(ListTypeExpressionAST<CharString>*) override {}
    void visitRuntimeValueAST(RuntimeValueAST*) override                   {}
    void visitObjectIDExpression(ObjectIDExpressionAST*) override          {}
    void visitFunctionExpression(FunctionExpressionAST* node) override     { addAll(node->arguments); }
    // clang-format on

private:
    void add(ExpressionAST* child)
    {
        if (child)
            children.push_back(child);
    }

    template <typename Children>
    void addAll(const Children& given)
    {
        for (ExpressionAST* child : given)
            add(child);
    }

    std::vector<ExpressionAST*>& children;
};

} // namespace

void appendChildren(ExpressionAST* node, std::vector<ExpressionAST*>& children)
{
    ChildCollector collector(children);
    node->accept(&collector);
}

} // namespace Marl::Host
