#include <marl/visitor/decoration_visitor.h>

#include <marl/ast/detail/located.h>
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

[[noreturn]] void failMissingObject(const PropertyReferenceAST& reference)
{
    throw BadRefException(joined({"Could not find ", reference.objectName, " object."}));
}

[[noreturn]] void failMissingProperty(const PropertyReferenceAST& reference)
{
    throw BadRefException(
        joined({"Could not find ", reference.propertyName, " property of object ", reference.objectName}));
}

} // namespace

// One level of nesting, for as long as it lives.
class DecorationVisitor::Level {
public:
    Level(DecorationVisitor& owner, ExpressionAST* node) : pass(owner)
    {
        if (pass.depth >= depthLimit)
            at(node, failTooDeep);
        ++pass.depth;
    }
    ~Level() { --pass.depth; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    DecorationVisitor& pass;
};

// Every node says in which property it stands, also the first one, which nobody walks to.
void DecorationVisitor::note(ExpressionAST* node)
{
    node->heldBy = property;
}

void DecorationVisitor::walk(ExpressionAST* parent, ExpressionAST* node)
{
    if (!node)
        at(parent, failIncomplete);
    note(node);
    const Level level(*this, node);
    node->accept(this);
}

template <typename... Nodes>
void DecorationVisitor::walkAll(ExpressionAST* parent, Nodes... nodes)
{
    note(parent);
    (walk(parent, nodes), ...);
}

// The target of a reference is not walked: it has a property, and a turn, of its own.
void DecorationVisitor::visitPropertyReferenceAST(PropertyReferenceAST* node)
{
    note(node);
    at(node, [&] { bind(*node); });
}

void DecorationVisitor::bind(PropertyReferenceAST& reference)
{
    if (!program)
        failIncomplete();
    ObjectAST* owner = program->getObject(reference.objectName);
    if (!owner)
        failMissingObject(reference);
    reference.property = owner->getProperty(reference.propertyName);
    if (!reference.property)
        failMissingProperty(reference);
    program->addReferrer(reference.property, object, property);
}

void DecorationVisitor::visitInterpolateExpression(InterpolateExpressionAST* node)
{
    note(node);
    for (const InterpolateKey* key = node->firstKey; key; key = key->next) {
        walk(node, key->time);
        walk(node, key->value);
    }
    node->sortKeys();
}

void DecorationVisitor::visitBuiltinFunction(BuiltinFunctionAST* node)
{
    note(node);
    for (int i = 0; i < std::min(node->argCount, BuiltinFunctionAST::maxArgs); ++i)
        if (node->args[i])
            walk(node, node->args[i]);
}

void DecorationVisitor::visitListExpression(ListExpressionAST* node)
{
    note(node);
    for (const ListItem* item = node->firstItem; item; item = item->next)
        walk(node, item->expression);
}

void DecorationVisitor::visitFunctionExpression(FunctionExpressionAST* node)
{
    note(node);
    for (ExpressionAST* argument : node->arguments)
        walk(node, argument);
}

void DecorationVisitor::visitArrayExpressionAST(ArrayExpressionAST* node)
{
    note(node);
    walk(node, node->target);
    for (ExpressionAST* index : node->indices)
        walk(node, index);
}

// clang-format off
void DecorationVisitor::visitBinaryExpression(BinaryExpressionAST* node)       { walkAll(node, node->left, node->right); }
void DecorationVisitor::visitNegatedExpression(NegatedExpressionAST* node)     { walkAll(node, node->operand); }
void DecorationVisitor::visitVectorExpression(VectorExpressionAST* node)       { walkAll(node, node->components[0], node->components[1], node->components[2]); }
void DecorationVisitor::visitMatrixExpression(MatrixExpressionAST* node)       { walkAll(node, node->columns[0], node->columns[1], node->columns[2]); }
void DecorationVisitor::visitAColorExpression(AColorExpressionAST* node)       { walkAll(node, node->components[0], node->components[1], node->components[2], node->components[3]); }
void DecorationVisitor::visitTransformExpression(TransformExpressionAST* node) { walkAll(node, node->matrix, node->offset); }

void DecorationVisitor::visitObjectReference(ObjectReferenceAST* node) { note(node), node->parser = parser; }
void DecorationVisitor::visitRuntimeValueAST(RuntimeValueAST* node)    { note(node), node->parser = parser; }

void DecorationVisitor::visitNumberExpression(NumberExpressionAST* node) { note(node); }
void DecorationVisitor::visitTransformHexExpression(TransformHexExpressionAST* node) { note(node); }
void DecorationVisitor::visitStringExpression(StringExpressionAST* node) { note(node); }
void DecorationVisitor::visitListVectorExpressionAST(ListTypeExpressionAST<Vector>* node) { note(node); }
void DecorationVisitor::visitListIntExpressionAST(ListTypeExpressionAST<int>* node) { note(node); }
void DecorationVisitor::visitListColorExpressionAST(ListTypeExpressionAST<Color>* node) { note(node); }
void DecorationVisitor::visitListFloatExpressionAST(ListTypeExpressionAST<float>* node) { note(node); }
void DecorationVisitor::visitListStringExpressionAST(ListTypeExpressionAST<CharString>* node) { note(node); }
void DecorationVisitor::visitObjectIDExpression(ObjectIDExpressionAST* node) { note(node); }
// clang-format on

} // namespace Marl
