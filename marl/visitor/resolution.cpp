#include <marl/visitor/decoration_visitor.h>

#include <marl/ast/function_expression.h>
#include <marl/value/detail/failures.h>
#include <marl/value/exceptions.h>

#include <algorithm>
#include <initializer_list>
#include <string>

namespace Marl {

namespace {

constexpr int depthLimit = 10'000;

// A null piece adds nothing.
CharString joined(std::initializer_list<const char*> pieces)
{
    std::string text;
    for (const char* piece : pieces)
        text += piece ? piece : "";
    return CharString(text.c_str());
}

[[noreturn]] void failMissingObject(const char* object)
{
    throw BadRefException(joined({"Could not find ", object, " object."}));
}

[[noreturn]] void failMissingProperty(const char* property, const char* object)
{
    throw BadRefException(joined({"Could not find ", property, " property of object ", object}));
}

} // namespace

// One level of nesting, for as long as it lives.
class DecorationVisitor::Level {
public:
    explicit Level(DecorationVisitor& owner) : pass(owner)
    {
        if (pass.depth >= depthLimit)
            failTooDeep();
        ++pass.depth;
    }
    ~Level() { --pass.depth; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    DecorationVisitor& pass;
};

void DecorationVisitor::walk(ExpressionAST* node)
{
    if (!node)
        failIncomplete();
    const Level level(*this);
    node->accept(this);
}

template <typename... Nodes>
void DecorationVisitor::walkAll(Nodes... nodes)
{
    (walk(nodes), ...);
}

// The target of a reference is not walked: it has a property, and a turn, of its own.
void DecorationVisitor::visitPropertyReferenceAST(PropertyReferenceAST* node)
{
    if (!program)
        failIncomplete();
    ObjectAST* owner = program->getObject(node->objectName);
    if (!owner)
        failMissingObject(node->objectName);
    node->property = owner->getProperty(node->propertyName);
    if (!node->property)
        failMissingProperty(node->propertyName, node->objectName);
    program->addReferrer(node->property, object, property);
}

void DecorationVisitor::visitInterpolateExpression(InterpolateExpressionAST* node)
{
    for (const InterpolateKey* key = node->firstKey; key; key = key->next) {
        walk(key->time);
        walk(key->value);
    }
    node->sortKeys();
}

void DecorationVisitor::visitBuiltinFunction(BuiltinFunctionAST* node)
{
    for (int i = 0; i < std::min(node->argCount, BuiltinFunctionAST::maxArgs); ++i)
        if (node->args[i])
            walk(node->args[i]);
}

void DecorationVisitor::visitListExpression(ListExpressionAST* node)
{
    for (const ListItem* item = node->firstItem; item; item = item->next)
        walk(item->expression);
}

void DecorationVisitor::visitFunctionExpression(FunctionExpressionAST* node)
{
    for (ExpressionAST* argument : node->arguments)
        walk(argument);
}

void DecorationVisitor::visitArrayExpressionAST(ArrayExpressionAST* node)
{
    walk(node->target);
    for (ExpressionAST* index : node->indices)
        walk(index);
}

// clang-format off
void DecorationVisitor::visitBinaryExpression(BinaryExpressionAST* node)       { walkAll(node->left, node->right); }
void DecorationVisitor::visitNegatedExpression(NegatedExpressionAST* node)     { walkAll(node->operand); }
void DecorationVisitor::visitVectorExpression(VectorExpressionAST* node)       { walkAll(node->components[0], node->components[1], node->components[2]); }
void DecorationVisitor::visitMatrixExpression(MatrixExpressionAST* node)       { walkAll(node->columns[0], node->columns[1], node->columns[2]); }
void DecorationVisitor::visitAColorExpression(AColorExpressionAST* node)       { walkAll(node->components[0], node->components[1], node->components[2], node->components[3]); }
void DecorationVisitor::visitTransformExpression(TransformExpressionAST* node) { walkAll(node->matrix, node->offset); }

void DecorationVisitor::visitObjectReference(ObjectReferenceAST* node) { node->parser = parser; }
void DecorationVisitor::visitRuntimeValueAST(RuntimeValueAST* node)    { node->parser = parser; }

void DecorationVisitor::visitNumberExpression(NumberExpressionAST*) {}
void DecorationVisitor::visitTransformHexExpression(TransformHexExpressionAST*) {}
void DecorationVisitor::visitStringExpression(StringExpressionAST*) {}
void DecorationVisitor::visitListVectorExpressionAST(ListTypeExpressionAST<Vector>*) {}
void DecorationVisitor::visitListIntExpressionAST(ListTypeExpressionAST<int>*) {}
void DecorationVisitor::visitListColorExpressionAST(ListTypeExpressionAST<Color>*) {}
void DecorationVisitor::visitListFloatExpressionAST(ListTypeExpressionAST<float>*) {}
void DecorationVisitor::visitListStringExpressionAST(ListTypeExpressionAST<CharString>*) {}
void DecorationVisitor::visitObjectIDExpression(ObjectIDExpressionAST*) {}
// clang-format on

} // namespace Marl
