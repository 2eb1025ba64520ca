// The class of a node, asked of the object itself: a host's node may answer accept() with any visit.
#pragma once

#include <marl/ast/expression.h>

namespace Marl {

enum class NodeClass : unsigned char {
    Number,
    Builtin,
    Binary,
    Reference,
    Negated,
    Vector,
    Interpolate,
    AColor,
    Matrix,
    Transform,
    List,
    Array,
    String,
    ListVector,
    ListInt,
    ListColor,
    ListFloat,
    ListString,
    ObjectReference,
    RuntimeValue,
    ObjectID,
    TransformHex,
    Function,
    Host,
};

NodeClass classOf(const ExpressionAST& node);

} // namespace Marl
