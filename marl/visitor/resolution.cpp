#include <marl/visitor/decoration_visitor.h>

#include <marl/ast/detail/located.h>
#include <marl/ast/function_expression.h>
#include <marl/value/detail/failures.h>
#include <marl/value/exceptions.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string>
#include <tuple>
#include <unordered_set>

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
        if (pass.depth >= depthLimit) {
            pass.wasTooDeep = true;
            at(node, failTooDeep);
        }
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

// The children of a node in their order. The pass ends at the first failure. Where a property is noted anew, the
// other children are walked all the same, and the first failure is thrown behind the last of them.
class DecorationVisitor::Children {
public:
    Children(DecorationVisitor& owner, ExpressionAST* node) : pass(owner), parent(node) {}

    void walk(ExpressionAST* child)
    {
        if (!pass.isNotingAnew)
            return enter(child);
        if (pass.wasTooDeep)
            return;
        try {
            enter(child);
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
        }
    }

    void end() const
    {
        if (failure)
            std::rethrow_exception(failure);
    }

private:
    void enter(ExpressionAST* child)
    {
        if (!child)
            at(parent, failIncomplete);
        pass.note(child);
        const Level level(pass, child);
        child->accept(&pass);
    }

    DecorationVisitor& pass;
    ExpressionAST* parent;
    std::exception_ptr failure;
};

template <typename... Nodes>
void DecorationVisitor::walkAll(ExpressionAST* parent, Nodes... nodes)
{
    note(parent);
    Children children(*this, parent);
    (children.walk(nodes), ...);
    children.end();
}

// The target of a reference is not walked: it has a property, and a turn, of its own.
void DecorationVisitor::visitPropertyReferenceAST(PropertyReferenceAST* node)
{
    note(node);
    at(node, [&] { bind(*node); });
}

void DecorationVisitor::bind(PropertyReferenceAST& reference)
{
    if (isNotingAnew)
        reference.property = nullptr; // what it was bound to may be removed
    if (!program)
        failIncomplete();
    ObjectAST* owner = program->getObject(reference.objectName);
    if (!owner)
        failMissingObject(reference);
    PropertyAST* found = owner->getProperty(reference.propertyName);
    if (found)
        program->addReferrer(found, object, property, &reference);
    reference.property = found;
    if (!found)
        failMissingProperty(reference);
}

void DecorationVisitor::visitInterpolateExpression(InterpolateExpressionAST* node)
{
    note(node);
    if (property)
        property->curves.push_back(node);
    Children children(*this, node);
    for (const InterpolateKey* key = node->firstKey; key; key = key->next) {
        children.walk(key->time);
        children.walk(key->value);
    }
    node->sortKeys();
    children.end();
}

void DecorationVisitor::visitBuiltinFunction(BuiltinFunctionAST* node)
{
    note(node);
    Children children(*this, node);
    for (int i = 0; i < std::min(node->argCount, BuiltinFunctionAST::maxArgs); ++i)
        if (node->args[i])
            children.walk(node->args[i]);
    children.end();
}

void DecorationVisitor::visitListExpression(ListExpressionAST* node)
{
    note(node);
    Children children(*this, node);
    for (const ListItem* item = node->firstItem; item; item = item->next)
        children.walk(item->expression);
    children.end();
}

void DecorationVisitor::visitFunctionExpression(FunctionExpressionAST* node)
{
    note(node);
    Children children(*this, node);
    for (ExpressionAST* argument : node->arguments)
        children.walk(argument);
    children.end();
}

void DecorationVisitor::visitArrayExpressionAST(ArrayExpressionAST* node)
{
    note(node);
    Children children(*this, node);
    children.walk(node->target);
    for (ExpressionAST* index : node->indices)
        children.walk(index);
    children.end();
}

template <typename T>
void DecorationVisitor::visitDataList(ListTypeExpressionAST<T>* node)
{
    note(node);
    if (isNotingAnew)
        node->forgetElements();
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
void DecorationVisitor::visitListVectorExpressionAST(ListTypeExpressionAST<Vector>* node) { visitDataList(node); }
void DecorationVisitor::visitListIntExpressionAST(ListTypeExpressionAST<int>* node) { visitDataList(node); }
void DecorationVisitor::visitListColorExpressionAST(ListTypeExpressionAST<Color>* node) { visitDataList(node); }
void DecorationVisitor::visitListFloatExpressionAST(ListTypeExpressionAST<float>* node) { visitDataList(node); }
void DecorationVisitor::visitListStringExpressionAST(ListTypeExpressionAST<CharString>* node) { visitDataList(node); }
void DecorationVisitor::visitObjectIDExpression(ObjectIDExpressionAST* node) { note(node); }
// clang-format on

void DecorationVisitor::changed(PropertyAST* edited)
{
    if (!program || !edited)
        failIncomplete();
    std::vector<PropertyAST*> affected = program->dependents(edited);
    std::vector<PropertyAST*> astray = holdersAstrayOf(edited);
    if (PropertyAST* hidden = program->hiddenBy(edited)) {
        std::ranges::copy(program->dependents(hidden), std::back_inserter(affected));
        std::ranges::copy(holdersAstrayOf(hidden), std::back_inserter(astray));
    }

    std::exception_ptr failure;
    const auto attempt = [&](const auto& work) {
        try {
            work();
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
        }
    };
    attempt([&] { noteAnew(edited); });
    for (PropertyAST* holder : astray)
        if (holder != edited)
            attempt([&] { noteAnew(holder); });
    for (PropertyAST* dependent : affected)
        for (InterpolateExpressionAST* curve : dependent->curves)
            attempt([&] { curve->sortKeys(); });
    if (failure)
        std::rethrow_exception(failure);
}

// The properties with a reference that is bound to the target and would be bound elsewhere today, oldest first.
std::vector<PropertyAST*> DecorationVisitor::holdersAstrayOf(const PropertyAST* target) const
{
    ObjectAST* owner = program->objectOf(target);
    const bool isFound =
        owner && program->getObject(owner->name) == owner && owner->getProperty(target->name) == target;
    std::vector<PropertyAST*> holders;
    std::unordered_set<const PropertyAST*> met;
    for (const PropertyReferrer* record = target->referrers; record; record = record->next) {
        const PropertyReferenceAST* reference = record->reference;
        const bool finds = isFound
            && (!reference || (reference->propertyName == target->name && reference->objectName == owner->name));
        if (!finds && record->property && met.insert(record->property).second)
            holders.push_back(record->property);
    }
    std::ranges::reverse(holders);
    return holders;
}

// What an expression that is nested too deeply keeps from being walked stays unbound.
void DecorationVisitor::noteAnew(PropertyAST* given)
{
    ObjectAST* const owner = program->objectOf(given);
    PropertyReferrer* const earlier = program->takeReferences(given);
    given->curves.clear();
    std::exception_ptr failure;
    wasTooDeep = false;
    if (owner) {
        const auto before = std::tuple(object, property, depth);
        std::tie(object, property, depth) = std::tuple(owner, given, 0);
        isNotingAnew = true;
        try {
            if (!given->expression)
                failIncomplete();
            given->expression->accept(this);
        } catch (...) {
            failure = std::current_exception();
        }
        isNotingAnew = false;
        std::tie(object, property, depth) = before;
    }
    if (wasTooDeep) {
        for (PropertyReferrer* record = earlier; record; record = record->nextReference)
            if (record->reference)
                record->reference->property = nullptr;
        for (PropertyReferrer* record = given->references; record; record = record->nextReference)
            if (record->reference)
                record->reference->property = record->referred;
    }
    program->reuse(earlier);
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace Marl
