#include <tests/support/tree.h>

#include <tests/support/shown.h>

#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <utility>

namespace Marl::Tests {

namespace {

class TracedNode final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override
    {
        *trail += letter;
        inner->accept(visitor);
    }
    ExpressionAST* getElement(int index) override
    {
        *trail += letter;
        return inner->getElement(index);
    }

    char letter = 0;
    std::string* trail = nullptr;
    ExpressionAST* inner = nullptr;
};

class FailingNode final : public ExpressionAST {
public:
    void accept(Visitor*) override { throw InvalidOpException("Failed on purpose."); }
};

} // namespace

template <typename Node>
Node* Tree::make(auto set)
{
    Node* made = program.make<Node>();
    set(*made);
    return made;
}

template <typename T>
ListTypeExpressionAST<T>* Tree::data(PtrArray<T>&& values)
{
    return make<ListTypeExpressionAST<T>>([&](auto& made) {
        made.values = std::move(values);
        made.loaded = 1;
    });
}

void Tree::fill(ExpressionAST** slots, std::initializer_list<Operand> operands)
{
    for (const Operand& operand : operands)
        *slots++ = node(operand);
}

// clang-format off
ExpressionAST* Tree::node(const Operand& operand)
{
    if (const auto* given = std::get_if<ExpressionAST*>(&operand.what))
        return *given;
    const Value& value = std::get<Value>(operand.what);
    const auto column = [&](int k) { const Vector v = value.getMatrix().columns[k]; return vec(v.x, v.y, v.z); };
    const TracePoint p = value.getTracePoint();
    const Color c = value.getColor();
    const AColor a = value.getAColor();
    const RuntimeValue runtime = value.getRuntimeValue();
    switch (ValueType(value.getValueType())) {
    case ValueType::Undefined:    break;
    case ValueType::Double:       return make<NumberExpressionAST>([&](auto& made) { made.number = value.getDouble(); });
    case ValueType::Vector:       return vec(p.x, p.y, p.z);
    case ValueType::Matrix:       return mat(column(0), column(1), column(2));
    case ValueType::Color:        return rgb(c.r, c.g, c.b);
    case ValueType::AColor:       return rgba(a.r, a.g, a.b, a.alpha);
    case ValueType::Transform:    return xform(value.getTransform().matrix, value.getTransform().offset);
    case ValueType::List:         return listOfNodes(value.getList());
    case ValueType::ListVector:   return data(value.getListVector());
    case ValueType::ListInt:      return data(value.getListInt());
    case ValueType::ListColor:    return data(value.getListColor());
    case ValueType::ListFloat:    return data(value.getListFloat());
    case ValueType::ListString: { auto* made = data(value.getListString()); made->scenePath = value.getScenePath(); return made; }
    case ValueType::String:       return make<StringExpressionAST>([&](auto& made) {
                                      made.text = value.getString(); made.scenePath = value.getScenePath(); made.loaded = 1; });
    case ValueType::Object:       return make<ObjectReferenceAST>([&](auto& made) { made.objectName = ""; made.parser = &parsers.emplace_back(value.getObject()); });
    case ValueType::ObjectID:     return make<ObjectIDExpressionAST>([&](auto& made) { made.objectID = value.getObjectID(); });
    case ValueType::RuntimeValue: return make<RuntimeValueAST>([&](auto& made) {
                                      made.objectName = ""; made.propertyName = runtime.name; made.parser = &parsers.emplace_back(runtime.object); });
    }
    return call(Builtin(0));
}

BinaryExpressionAST* Tree::binary(const Operand& left, int token, const Operand& right)
{
    return make<BinaryExpressionAST>([&](auto& made) { made.left = node(left); made.op = TOKENTYPE(token); made.right = node(right); });
}
NegatedExpressionAST* Tree::negated(const Operand& operand)
{
    return make<NegatedExpressionAST>([&](auto& made) { made.operand = node(operand); });
}
VectorExpressionAST* Tree::vec(const Operand& x, const Operand& y, const Operand& z, ValueType type)
{
    return make<VectorExpressionAST>([&](auto& made) { fill(made.components, {x, y, z}); made.valueType = static_cast<int>(type); });
}
AColorExpressionAST* Tree::rgba(const Operand& r, const Operand& g, const Operand& b, const Operand& alpha)
{
    return make<AColorExpressionAST>([&](auto& made) { fill(made.components, {r, g, b, alpha}); });
}
MatrixExpressionAST* Tree::mat(const Operand& first, const Operand& second, const Operand& third)
{
    return make<MatrixExpressionAST>([&](auto& made) { fill(made.columns, {first, second, third}); });
}
TransformExpressionAST* Tree::xform(const Operand& matrix, const Operand& offset)
{
    return make<TransformExpressionAST>([&](auto& made) { made.matrix = node(matrix); made.offset = node(offset); });
}
ListExpressionAST* Tree::list(std::initializer_list<Operand> items)
{
    return make<ListExpressionAST>([&](auto& made) { for (const Operand& item : items) program.append(&made, node(item)); });
}
ListExpressionAST* Tree::listOfNodes(PtrArray<Value> items)
{
    auto* made = list({});
    for (int i = 0; i < items.count; ++i)
        program.append(made, node(items.data[i]));
    items.freeMem();
    return made;
}
InterpolateExpressionAST* Tree::keys(std::initializer_list<Key> given)
{
    return make<InterpolateExpressionAST>([&](auto& made) { for (const Key& key : given) program.append(&made, node(key.time), node(key.value)); });
}
BuiltinFunctionAST* Tree::call(Builtin function, std::initializer_list<Operand> args, float sample)
{
    return make<BuiltinFunctionAST>([&](auto& made) {
        made.functionId = static_cast<int>(function);
        made.sample = sample;
        made.argCount = static_cast<int>(args.size());
        fill(made.args, args);
    });
}
ArrayExpressionAST* Tree::element(const Operand& target, std::initializer_list<Operand> indices)
{
    return make<ArrayExpressionAST>([&](auto& made) {
        made.target = node(target);
        for (const Operand& index : indices)
            made.indices.push_back(node(index));
    });
}
PropertyReferenceAST* Tree::reference(const char* object, const char* property)
{
    return make<PropertyReferenceAST>([&](auto& made) { made.objectName = object; made.propertyName = property; });
}
PropertyReferenceAST* Tree::reference(PropertyAST* bound)
{
    return make<PropertyReferenceAST>([&](auto& made) { made.property = bound; });
}
PropertyAST* Tree::property(const Operand& expression)
{
    return program.addObject(nullptr)->addProperty(nullptr, node(expression));
}
ExpressionAST* Tree::traced(char letter, const Operand& operand)
{
    return make<TracedNode>([&](auto& made) { made.letter = letter; made.trail = &trail; made.inner = node(operand); });
}
ExpressionAST* Tree::failing()
{
    return program.make<FailingNode>();
}
// clang-format on

Value evaluated(ExpressionAST* node, double time, bool hold)
{
    CalculationVisitor evaluator;
    evaluator.setTimeParam(time);
    evaluator.setDontInterpolate(hold ? 2 : 0);
    node->accept(&evaluator);
    return evaluator.getResult();
}

std::string resultOf(ExpressionAST* node, double time, bool hold)
{
    try {
        return shown(evaluated(node, time, hold));
    } catch (const InvalidOpException& failure) {
        return "fails: " + std::string(failure.what());
    }
}

void expectResults(std::initializer_list<Row> rows, double time)
{
    for (const Row& row : rows)
        EXPECT_EQ(resultOf(row.expression, time), row.result) << row.name;
}

} // namespace Marl::Tests
