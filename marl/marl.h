// All of Marl's interface. The tree of a scene is built through ProgramAST (ast/program.h),
// prepared once by a DecorationVisitor and evaluated by any number of CalculationVisitors.
#pragma once

#include <marl/ast/function_expression.h>
#include <marl/ast/list_text.h>
#include <marl/ast/nodes.h>
#include <marl/ast/program.h>
#include <marl/ast/source.h>
#include <marl/ast/visitor.h>
#include <marl/compiled/batch_evaluator.h>
#include <marl/compiled/column.h>
#include <marl/compiled/compiled_expressions.h>
#include <marl/value/arithmetic_scope.h>
#include <marl/value/array_hold.h>
#include <marl/value/exceptions.h>
#include <marl/value/interpolate_transform.h>
#include <marl/value/value.h>
#include <marl/version.h>
#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>
