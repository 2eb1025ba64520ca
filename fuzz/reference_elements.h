// What indices and references lead to in the tree.
#pragma once

#include <marl/marl.h>

namespace Marl::Fuzz {

// Both throw InvalidOpException as the evaluator does.
ExpressionAST* referenced(const PropertyReferenceAST* reference);

// Null where a host's own node has no such element. Of a data list it is a new expression in
// `scratch` that has the item's value.
ExpressionAST* elementOf(ExpressionAST* node, int index, ProgramAST& scratch);

} // namespace Marl::Fuzz
