// The names of the tree's classes.
#pragma once

#include <marl/value/records.h>

namespace Marl {

class Visitor;
class CalculationVisitor;

class ExpressionAST;
class BinaryExpressionAST;
class NumberExpressionAST;
class BuiltinFunctionAST;
class ListExpressionAST;
class PropertyReferenceAST;
class ArrayExpressionAST;
class InterpolateExpressionAST;
class NegatedExpressionAST;
class VectorExpressionAST;
class MatrixExpressionAST;
class AColorExpressionAST;
class TransformExpressionAST;
class TransformHexExpressionAST;
class StringExpressionAST;
class ObjectReferenceAST;
template <typename T>
class ListTypeExpressionAST;
class RuntimeValueAST;
class ObjectIDExpressionAST;
class FunctionExpressionAST;

class ProgramAST;
class ObjectAST;
class PropertyAST;
struct PropertyReferrer;

class Parser;
class SourceOwner;
class SourceStream;

} // namespace Marl
