#include <fuzz/reference_walk.h>

#include <fuzz/reference_arithmetic.h>
#include <fuzz/reference_elements.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Marl::Fuzz {

namespace {

constexpr const char* incomplete = "Expression is incomplete.";

[[noreturn]] void fail(const char* message)
{
    throw InvalidOpException(message);
}

bool isUndefined(const Value& value)
{
    return value.kind() == ValueType::Undefined;
}

int truncated(double number)
{
    constexpr double end = 2147483648.0;
    return number > -end - 1 && number < end ? static_cast<int>(number) : std::numeric_limits<int>::min();
}

} // namespace

void ReferenceWalk::evaluate(ExpressionAST* root)
{
    depth = 0;
    visitsLeft = visitLimit;
    entered.clear();
    root->accept(this);
}

void ReferenceWalk::expectRoom() const
{
    if (depth >= depthLimit)
        fail("Expression is nested too deeply.");
}

// Puts a variable back when a visit ends, also when it fails.
template <typename T>
class Restored {
public:
    explicit Restored(T& given) : variable(given), before(given) {}
    ~Restored() { variable = before; }

private:
    T& variable;
    T before;
};

// Lets a node below this one leave its value, if it has any.
void ReferenceWalk::passOn(ExpressionAST* node)
{
    expectRoom();
    if (!node)
        fail(incomplete);
    if (visitsLeft-- <= 0)
        throw TooMuchWork();
    const Restored restored(depth);
    ++depth;
    node->accept(this);
}

void ReferenceWalk::operand(ExpressionAST* node)
{
    const std::size_t before = stack.size();
    passOn(node);
    if (stack.size() <= before)
        fail(incomplete);
    stack[before] = stack.back();
    stack.resize(before + 1);
}

Value ReferenceWalk::taken()
{
    Value value = stack.back();
    stack.pop_back();
    return value;
}

Value ReferenceWalk::taken(ExpressionAST* node)
{
    operand(node);
    return taken();
}

double ReferenceWalk::number(const char* complaint)
{
    const Value value = taken();
    if (isUndefined(value))
        fail(complaint);
    return value.getDouble();
}

// What is no number stays on the stack.
double ReferenceWalk::component(ExpressionAST* node, const char* complaint)
{
    operand(node);
    if (isUndefined(stack.back()))
        fail(complaint);
    return taken().getDouble();
}

Vector ReferenceWalk::vector(ExpressionAST* node)
{
    return taken(node).getVector();
}

void ReferenceWalk::visitBinaryExpression(BinaryExpressionAST* node)
{
    operand(node->left);
    operand(node->right);
    const Value right = taken();
    const Value left = taken();
    stack.push_back(operate(node->op, left, right));
}

void ReferenceWalk::visitNegatedExpression(NegatedExpressionAST* node)
{
    operand(node->operand);
    stack.back() = negative(stack.back());
}

void ReferenceWalk::visitNumberExpression(NumberExpressionAST* node)
{
    stack.push_back(node->number);
}

void ReferenceWalk::visitObjectIDExpression(ObjectIDExpressionAST* node)
{
    stack.push_back(node->objectID);
}

void ReferenceWalk::visitObjectReference(ObjectReferenceAST* node)
{
    if (!node->parser)
        fail("Object reference has no parser.");
    stack.push_back(node->parser->findObject(node->objectName));
}

void ReferenceWalk::visitRuntimeValueAST(RuntimeValueAST* node)
{
    if (!node->parser)
        fail("Runtime value has no parser.");
    stack.push_back(RuntimeValue{node->parser->findObject(node->objectName), node->propertyName});
}

void ReferenceWalk::visitPropertyReferenceAST(PropertyReferenceAST* node)
{
    expectRoom();
    ExpressionAST* expression = referenced(node);
    const Restored restored(entered);
    if (!entered.insert(node->property).second)
        fail("Property references form a cycle.");
    passOn(expression);
}

void ReferenceWalk::visitStringExpression(StringExpressionAST* node)
{
    node->load();
    Value value(node->text.clone());
    value.setScenePath(node->scenePath.clone());
    stack.push_back(value);
}

void ReferenceWalk::visitVectorExpression(VectorExpressionAST* node)
{
    if (node->valueType != 3 && node->valueType != 5)
        return;
    const bool isVector = node->valueType == 3;
    double numbers[3];
    for (int i = 0; i < 3; ++i)
        numbers[i] = component(node->components[i],
                               isVector ? "Vector expected to contain numbers only"
                                        : "Color expected to contain numbers only");
    const TracePoint point{numbers[0], numbers[1], numbers[2]};
    const Vector rounded = singleOf(point);
    stack.push_back(isVector ? Value(point) : Value(Color{rounded.x, rounded.y, rounded.z}));
}

void ReferenceWalk::visitAColorExpression(AColorExpressionAST* node)
{
    float parts[4];
    for (int i = 0; i < 4; ++i)
        parts[i] = static_cast<float>(component(node->components[i], "AColor expected to contain numbers only"));
    stack.push_back(AColor{parts[0], parts[1], parts[2], parts[3]});
}

void ReferenceWalk::visitMatrixExpression(MatrixExpressionAST* node)
{
    Matrix matrix;
    for (int k = 0; k < 3; ++k)
        matrix.columns[k] = vector(node->columns[k]);
    stack.push_back(matrix);
}

void ReferenceWalk::visitTransformExpression(TransformExpressionAST* node)
{
    const Matrix matrix = taken(node->matrix).getMatrix();
    const TracePoint offset = taken(node->offset).getTracePoint();
    stack.push_back(TraceTransform{matrix, offset});
}

void ReferenceWalk::visitTransformHexExpression(TransformHexExpressionAST* node)
{
    stack.push_back(node->readFromSource());
}

void ReferenceWalk::visitListExpression(ListExpressionAST* node)
{
    std::vector<Value> values;
    for (const ListItem* item = node->firstItem; item; item = item->next)
        values.push_back(taken(item->expression));
    values.resize(static_cast<std::size_t>(std::max(node->itemCount, 0)));
    stack.push_back(listOf(values));
}

template <typename T>
void ReferenceWalk::pushList(ListTypeExpressionAST<T>* node)
{
    const ArrayHold<T> list(node->loaded ? PtrArray<T>(node->values) : node->readFromSource());
    Value value = *list;
    value.setScenePath(node->scenePath.clone());
    stack.push_back(value);
}

void ReferenceWalk::visitFunctionExpression(FunctionExpressionAST* node)
{
    for (ExpressionAST* argument : node->arguments)
        operand(argument);
    std::vector<Value> arguments(node->arguments.size());
    for (std::size_t i = arguments.size(); i-- > 0;)
        arguments[i] = taken();
    stack.push_back(node->call(arguments, {time, holdsKeys}));
}

void ReferenceWalk::visitArrayExpressionAST(ArrayExpressionAST* node)
{
    ExpressionAST* current = node->target;
    for (ExpressionAST* index : node->indices) {
        operand(index);
        const double at = number("Array indexer expected to evaluate to a number.");
        current = elementOf(current, truncated(at), scratch);
        if (!current)
            fail("Array index is out of range.");
    }
    passOn(current);
}

void ReferenceWalk::visitInterpolateExpression(InterpolateExpressionAST* node)
{
    expectRoom();
    std::vector<const InterpolateKey*> keys;
    std::vector<double> times;
    for (const InterpolateKey* key = node->firstKey; key; key = key->next) {
        keys.push_back(key);
        times.push_back(component(key->time, "Keys in interpolate expression must be numbers."));
    }
    if (keys.empty())
        fail("Interpolate expression has no keys.");
    if (keys.size() == 1 || !(time > times.front()))
        return passOn(keys.front()->value);
    if (time >= times.back())
        return passOn(node->lastKey->value);

    std::size_t i = 1;
    while (!(time >= times[i - 1]) || time >= times[i])
        ++i;
    if (holdsKeys)
        return passOn(keys[i - 1]->value);
    const Value earlier = taken(keys[i - 1]->value);
    const Value later = taken(keys[i]->value);
    stack.push_back(blend(earlier, later, (time - times[i - 1]) / (times[i] - times[i - 1])));
}

Value ReferenceWalk::blend(const Value& earlier, const Value& later, double factor)
{
    const Value earlierWeight = 1.0 - factor;
    const Value laterWeight = factor;

    if (earlier.kind() == ValueType::ListVector) {
        const auto a = elementsOf(earlier.getListVector()), b = elementsOf(later.getListVector());
        const float g0 = static_cast<float>(1.0 - factor), g1 = static_cast<float>(factor);
        if (a.size() != b.size())
            return earlier;
        std::vector<Vector> blended;
        for (std::size_t k = 0; k < a.size(); ++k)
            blended.push_back({b[k].x * g1 + a[k].x * g0, b[k].y * g1 + a[k].y * g0, b[k].z * g1 + a[k].z * g0});
        return listOf(blended);
    }
    if (earlier.kind() == ValueType::Transform) {
        const TraceTransform a = earlier.getTransform(), b = later.getTransform();
        const Transform on =
            interpolateTransform({a.matrix, singleOf(a.offset)}, {b.matrix, singleOf(b.offset)}, factor);
        return TraceTransform{on.matrix, doubleOf(on.offset)};
    }
    Value p, q;
    try {
        p = operate(TOKEN_MULTIPLY, earlierWeight, earlier);
        q = operate(TOKEN_MULTIPLY, laterWeight, later);
    } catch (const InvalidOpException&) {
        return earlier;
    }
    return operate(TOKEN_PLUS, q, p);
}

void ReferenceWalk::visitBuiltinFunction(BuiltinFunctionAST* node)
{
    const int id = node->functionId;
    const int arguments = id >= 4 && id <= 9 ? 1 : id >= 10 && id <= 12 ? 2 : 0;
    for (int i = 0; i < arguments; ++i)
        if (!node->args[i])
            fail("Built-in function lacks an argument.");
    for (int i = 0; i < arguments; ++i)
        operand(node->args[i]);
    stack.push_back(call(node));
}

// The arguments lie on the stack, the last on top.
Value ReferenceWalk::call(BuiltinFunctionAST* node)
{
    const double sample = double(node->sample);
    switch (node->functionId) {
    case 1: return time;
    case 2: return sample;
    case 3: return 3.1415927410125732;
    case 4: {
        const double x = number("Function argument for sqr() expected to evaluate to a number.");
        return x * x;
    }
    case 5: return std::sqrt(number("Function argument for sqrt() expected to evaluate to a number."));
    case 6: return std::sin(number("Function argument for sin() expected to evaluate to a number."));
    case 7: return std::cos(number("Function argument for cos() expected to evaluate to a number."));
    case 8: {
        const Vector v = taken().getVector();
        return double(std::sqrt((v.x * v.x + v.y * v.y) + v.z * v.z));
    }
    case 9: return double(CalculationVisitor().noise(taken().getVector()));
    case 10: {
        const double b = number("Second function argument for pow() expected to evaluate to a number.");
        const double a = number("First function argument for pow() expected to evaluate to a number.");
        return std::pow(a, b);
    }
    case 11: {
        const TracePoint b = doubleOf(taken().getVector());
        const TracePoint a = doubleOf(taken().getVector());
        return doubleOf(singleOf({a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}));
    }
    case 12: {
        const double b = number("Second function argument for uniform() expected to evaluate to a number.");
        const double a = number("First function argument for uniform() expected to evaluate to a number.");
        return (1.0 - sample) * a + b * sample;
    }
    }
    return Value();
}

} // namespace Marl::Fuzz
