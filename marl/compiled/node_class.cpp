#include <marl/compiled/detail/node_class.h>

#include <marl/ast/function_expression.h>
#include <marl/ast/nodes.h>

#include <typeinfo>

namespace Marl {

namespace {

struct Known {
    const std::type_info& type;
    NodeClass nodeClass;
};

// Frequent ones first.
const Known known[] = {
    {typeid(NumberExpressionAST), NodeClass::Number},
    {typeid(BinaryExpressionAST), NodeClass::Binary},
    {typeid(BuiltinFunctionAST), NodeClass::Builtin},
    {typeid(PropertyReferenceAST), NodeClass::Reference},
    {typeid(VectorExpressionAST), NodeClass::Vector},
    {typeid(NegatedExpressionAST), NodeClass::Negated},
    {typeid(InterpolateExpressionAST), NodeClass::Interpolate},
    {typeid(TransformExpressionAST), NodeClass::Transform},
    {typeid(MatrixExpressionAST), NodeClass::Matrix},
    {typeid(AColorExpressionAST), NodeClass::AColor},
    {typeid(ArrayExpressionAST), NodeClass::Array},
    {typeid(ListExpressionAST), NodeClass::List},
    {typeid(StringExpressionAST), NodeClass::String},
    {typeid(ListTypeExpressionAST<Vector>), NodeClass::ListVector},
    {typeid(ListTypeExpressionAST<int>), NodeClass::ListInt},
    {typeid(ListTypeExpressionAST<Color>), NodeClass::ListColor},
    {typeid(ListTypeExpressionAST<float>), NodeClass::ListFloat},
    {typeid(ListTypeExpressionAST<CharString>), NodeClass::ListString},
    {typeid(ObjectReferenceAST), NodeClass::ObjectReference},
    {typeid(RuntimeValueAST), NodeClass::RuntimeValue},
    {typeid(ObjectIDExpressionAST), NodeClass::ObjectID},
    {typeid(TransformHexExpressionAST), NodeClass::TransformHex},
};

} // namespace

// Most types are told apart by the address of what describes them; where a program has several copies of
// that, by comparison.
NodeClass classOf(const ExpressionAST& node)
{
    const std::type_info& type = typeid(node);
    for (const auto& [candidate, nodeClass] : known)
        if (&candidate == &type)
            return nodeClass;
    for (const auto& [candidate, nodeClass] : known)
        if (candidate == type)
            return nodeClass;
    return dynamic_cast<const FunctionExpressionAST*>(&node) ? NodeClass::Function : NodeClass::Host;
}

} // namespace Marl
