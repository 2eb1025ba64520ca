#include <tests/support/tree.h>

#include <tests/support/shown.h>

#include <marl/value/array_hold.h>
#include <marl/visitor/calculation_visitor.h>

#include <algorithm>
#include <functional>
#include <sstream>

namespace Marl::Tests {

namespace {

// A host's own node, which hands on to another one or throws.
class HostNode final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override { inner()->accept(visitor); }
    ExpressionAST* getElement(int index) override { return inner()->getElement(index); }

    std::function<ExpressionAST*()> inner;
};

} // namespace

template <typename Node, std::size_t count>
Node* Tree::with(ExpressionAST* (Node::*slots)[count], std::initializer_list<Operand> operands)
{
    Node* made = program.make<Node>();
    std::ranges::transform(operands, made->*slots, [&](const Operand& operand) { return node(operand); });
    return made;
}

ExpressionAST* Tree::node(const Operand& operand)
{
    if (const auto* given = std::get_if<ExpressionAST*>(&operand.what))
        return *given;
    const Value& value = std::get<Value>(operand.what);
    const TracePoint p = value.getTracePoint();
    const Matrix m = value.getMatrix();
    const Color c = value.getColor();
    const AColor a = value.getAColor();
    const TraceTransform t = value.getTransform();
    const RuntimeValue runtime = value.getRuntimeValue();
    const ArrayHold items(value.getList());
    const std::vector<Operand> operands(items.begin(), items.end());
    const auto column = [&](const Vector& v) { return vec(v.x, v.y, v.z); };
    const auto loaded = [&](auto* made) {
        made->scenePath = value.getScenePath();
        made->loaded = 1;
        return made;
    };
    const auto lookedUp = [&](auto* made, Object* object) {
        made->objectName = "";
        made->parser = &parsers.emplace_back(object);
        return made;
    };
    // clang-format off
    switch (value.kind()) {
    case ValueType::Undefined:    break;
    case ValueType::Double:       return with(&NumberExpressionAST::number, value.getDouble());
    case ValueType::Vector:       return vec(p.x, p.y, p.z);
    case ValueType::Matrix:       return mat(column(m.columns[0]), column(m.columns[1]), column(m.columns[2]));
    case ValueType::Color:        return rgb(c.r, c.g, c.b);
    case ValueType::AColor:       return rgba(a.r, a.g, a.b, a.alpha);
    case ValueType::Transform:    return xform(t.matrix, t.offset);
    case ValueType::List:         return list(operands);
    case ValueType::ListVector:   return loaded(with(&ListTypeExpressionAST<Vector>::values, value.getListVector()));
    case ValueType::ListInt:      return loaded(with(&ListTypeExpressionAST<int>::values, value.getListInt()));
    case ValueType::ListColor:    return loaded(with(&ListTypeExpressionAST<Color>::values, value.getListColor()));
    case ValueType::ListFloat:    return loaded(with(&ListTypeExpressionAST<float>::values, value.getListFloat()));
    case ValueType::ListString:   return loaded(with(&ListTypeExpressionAST<CharString>::values, value.getListString()));
    case ValueType::String:       return loaded(with(&StringExpressionAST::text, value.getString()));
    case ValueType::Object:       return lookedUp(program.make<ObjectReferenceAST>(), value.getObject());
    case ValueType::ObjectID:     return with(&ObjectIDExpressionAST::objectID, value.getObjectID());
    case ValueType::RuntimeValue: return lookedUp(with(&RuntimeValueAST::propertyName, runtime.name), runtime.object);
    }
    // clang-format on
    return call(Builtin(0));
}

BinaryExpressionAST* Tree::binary(const Operand& left, int token, const Operand& right)
{
    auto* made = with(&BinaryExpressionAST::op, TOKENTYPE(token));
    made->left = node(left);
    made->right = node(right);
    return made;
}

VectorExpressionAST* Tree::vec(const Operand& x, const Operand& y, const Operand& z, ValueType type)
{
    auto* made = with(&VectorExpressionAST::components, {x, y, z});
    made->valueType = static_cast<int>(type);
    return made;
}

AColorExpressionAST* Tree::rgba(const Operand& r, const Operand& g, const Operand& b, const Operand& alpha)
{
    return with(&AColorExpressionAST::components, {r, g, b, alpha});
}

MatrixExpressionAST* Tree::mat(const Operand& first, const Operand& second, const Operand& third)
{
    return with(&MatrixExpressionAST::columns, {first, second, third});
}

TransformExpressionAST* Tree::xform(const Operand& matrix, const Operand& offset)
{
    auto* made = with(&TransformExpressionAST::matrix, node(matrix));
    made->offset = node(offset);
    return made;
}

ListExpressionAST* Tree::list(const std::vector<Operand>& items)
{
    auto* made = program.make<ListExpressionAST>();
    for (const Operand& item : items)
        program.append(made, node(item));
    return made;
}

InterpolateExpressionAST* Tree::keys(std::initializer_list<Key> given)
{
    auto* made = program.make<InterpolateExpressionAST>();
    for (const Key& key : given)
        program.append(made, node(key.time), node(key.value));
    return made;
}

InterpolateExpressionAST* Tree::sortedKeys(std::initializer_list<Key> given)
{
    InterpolateExpressionAST* made = keys(given);
    made->sortKeys();
    return made;
}

BuiltinFunctionAST* Tree::call(Builtin function, std::initializer_list<Operand> args, float sample)
{
    auto* made = with(&BuiltinFunctionAST::args, args);
    made->functionId = static_cast<int>(function);
    made->argCount = static_cast<int>(args.size());
    made->sample = sample;
    return made;
}

ArrayExpressionAST* Tree::element(const Operand& target, std::initializer_list<Operand> indices)
{
    auto* made = with(&ArrayExpressionAST::target, node(target));
    for (const Operand& index : indices)
        made->indices.push_back(node(index));
    return made;
}

PropertyReferenceAST* Tree::reference(const char* object, const char* property)
{
    auto* made = with(&PropertyReferenceAST::objectName, object);
    made->propertyName = property;
    return made;
}

ExpressionAST* Tree::traced(char letter, const Operand& operand)
{
    return with(&HostNode::inner, [this, letter, inner = node(operand)] {
        trail += letter;
        return inner;
    });
}

ExpressionAST* Tree::failing()
{
    return with(&HostNode::inner, []() -> ExpressionAST* { throw InvalidOpException("Failed on purpose."); });
}

std::string detailsOf(const Exception& failure)
{
    std::ostringstream text;
    if (std::string_view(failure.what()) != "Property references form a cycle.")
        text << "node " << failure.node() << " in " << failure.property();
    if (failure.leftKind() && failure.rightKind())
        text << " of " << kindLetters[static_cast<int>(*failure.leftKind())]
             << kindLetters[static_cast<int>(*failure.rightKind())];
    if (failure.index() != 0 || failure.count() != -1)
        text << " " << failure.index() << " of " << failure.count();
    if (failure.byte() != -1)
        text << " byte " << failure.byte();
    return text.str();
}

Value evaluated(ExpressionAST* node, double time, bool hold)
{
    CalculationVisitor evaluator;
    evaluator.setTimeParam(time);
    evaluator.setDontInterpolate(hold ? 2 : 0);
    node->accept(&evaluator);
    return evaluator.getResult();
}

std::string resultOf(ExpressionAST* node, double time, bool hold)
try {
    return shown(evaluated(node, time, hold));
} catch (const InvalidOpException& failure) {
    return "fails: " + std::string(failure.what());
}

} // namespace Marl::Tests
