#include <fuzz/random_tree.h>

#include <fuzz/outcome.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

namespace Marl::Fuzz {

namespace {

// A host's own node: nothing is known of it. It hands on to another one, and to a second one where the
// first fails; not where the failure is one of the levels and references around it, which hosts cannot mend.
class HandingOnAST final : public ExpressionAST {
public:
    void accept(Visitor* visitor) override
    {
        ++*met;
        try {
            if (inner)
                inner->accept(visitor);
            else if (fails)
                throw InvalidOpException("Nothing to hand on to.");
        } catch (const InvalidOpException& failure) {
            if (!other || isOfSurroundings(failure.what()))
                throw;
            other->accept(visitor);
        }
    }
    ExpressionAST* getElement(int index) override
    {
        ++*met;
        return index == 0 ? inner : nullptr;
    }

    int* met = nullptr;
    bool fails = true; // without an inner node, else it leaves no value then
    ExpressionAST* inner = nullptr;
    ExpressionAST* other = nullptr;
};

// A host's function. It keeps its word where it says its kinds.
class RandomFunctionAST final : public FunctionExpressionAST {
public:
    enum class Rule { First, Last, Weighted, Choosy, Clock };

    Value call(std::span<const Value> values, const Moment& moment) override
    {
        switch (rule) {
        case Rule::First: return values.empty() ? Value() : values.front();
        case Rule::Last: return values.empty() ? Value() : values.back();
        case Rule::Weighted: {
            double sum = 0.5;
            for (const Value& value : values)
                sum = sum * 2 + value.getDouble();
            return sum;
        }
        case Rule::Choosy: {
            const double x = values.empty() ? moment.time : values.front().getDouble();
            if (x > 1)
                throw InvalidOpException("Too large.");
            return x > 0 ? Value(TracePoint{x, x, x}) : Value(x);
        }
        case Rule::Clock: return moment.time + (moment.holdsKeys ? 1 : 0);
        }
        return Value();
    }
    bool isPure() const override { return saysPure && rule < Rule::Choosy; }
    std::optional<FunctionKinds> kinds() const override
    {
        const bool passesOn = rule == Rule::First || rule == Rule::Last;
        if (!saysKinds || rule == Rule::Choosy || (passesOn && takes.empty()))
            return std::nullopt;
        const ValueType gives = !passesOn ? ValueType::Double : rule == Rule::First ? takes.front() : takes.back();
        return FunctionKinds{takes, gives};
    }
    bool callBlock(const FunctionBlock& block) override
    {
        if (rule != Rule::Weighted
            || std::ranges::any_of(takes, [](ValueType kind) { return kind != ValueType::Double; }))
            return false;
        for (std::size_t i = 0; i < block.count; ++i) {
            block.values.doubles[i] = 0.5;
            for (const auto& argument : block.arguments)
                block.values.doubles[i] = block.values.doubles[i] * 2 + argument.doubles[i];
        }
        return true;
    }

    Rule rule = Rule::First;
    bool saysPure = false, saysKinds = false;
    std::vector<ValueType> takes;
};

constexpr double inf = std::numeric_limits<double>::infinity();

// Where precision, rounding and ranges end.
constexpr double numbers[] = {
    0,        1,    -1,     2,       0.5,    0.1,          1.1,           -0.0,
    3,        10,   1e39,   -1e39,   1e-39,  1e-46,        3.4028235e38,  inf,
    -inf,     -2.9, -0.5,   1e300,   1e-320, 2147483647.5, -2147483648.5, std::numeric_limits<double>::quiet_NaN(),
    16777217, 1e9,  0.3333, 7829375,
};

// Texts of data lists and others, whole and broken. Nodes take one, or a piece that cuts into two.
constexpr std::string_view texts[] = {
    "1 -2 3",
    "0.5 1e-50 nan -inf",
    "0 0 0, 1 0.1 2.5,",
    R"("one", 'two', """three""")",
    "1e39",
    "1 2, 3",
    "\"open",
    "00000000 3f800000 00000000 bf800000 00000000 00000000 00000000 00000000 3f800000 "
    "4024000000000000 7ff8000000000000 0000000000000001",
    "/* nothing */",
};

std::string joined()
{
    std::string whole;
    for (const std::string_view text : texts)
        whole += text;
    return whole;
}

const std::string source = joined();

} // namespace

void TextStream::read(char* buffer, int size, int*)
{
    ++reads;
    const auto begin = static_cast<std::size_t>(std::clamp<std::int64_t>(position, 0, std::ssize(source)));
    const std::size_t got = source.copy(buffer, static_cast<std::size_t>(std::max(size, 0)), begin);
    position += static_cast<std::int64_t>(got);
}

RandomTree::RandomTree(std::span<const std::uint8_t> given, Host::RunningScene& running)
    : backwards(given.rbegin(), given.rend()), parser(running)
{
    bytes.emplace(given.data(), given.size());
    constexpr std::size_t batchSizes[] = {1, 2, 3, 4, 15, 16, 17, 31, 32, 33, 64, 65, 127, 128, 129, 257};
    constexpr std::size_t runs[] = {1, 1, 2, 7, 16, 40, 130};
    const int flags = below(16);
    holdsKeys = flags == 1 || flags % 4 == 2;
    isSorted = flags % 2 == 0;
    depthLimit = flags < 3 ? below(24) : 200;
    pattern.size = bytes->PickValueInArray(batchSizes);
    pattern.run = bytes->PickValueInArray(runs);
    pattern.step = bytes->ConsumeIntegral<std::uint8_t>();
    pattern.first = bytes->ConsumeIntegral<std::uint8_t>();
    for (int i = 2 + below(4); i > 0; --i)
        times.push_back(number());
    ObjectAST* object = program.addObject("o");
    for (int i = 1 + below(8); i > 0; --i)
        properties.push_back(object->addProperty("p", nullptr));
    for (PropertyAST* property : properties)
        property->expression = node(anyKind());

    for (const PropertyAST* property : properties)
        roots.push_back(property->expression);
    for (std::size_t i = 0; i < made.size(); i += 1 + made.size() / 8)
        roots.push_back(made[i]);
    noteTimes();
    bytes.emplace(backwards.data(), backwards.size());
}

// Where keys begin and end, and between them.
void RandomTree::noteTimes()
{
    constexpr std::size_t mostTimes = 12;
    double previous = 0;
    for (const InterpolateExpressionAST* keys : interpolations)
        for (const InterpolateKey* key = keys->firstKey; key; key = key->next) {
            const auto* at = dynamic_cast<const NumberExpressionAST*>(key->time);
            if (!at || times.size() >= mostTimes)
                continue;
            times.push_back(at->number);
            times.push_back((at->number + previous) / 2);
            previous = at->number;
        }
}

std::vector<double> RandomTree::batch() const
{
    std::vector<double> taken;
    for (std::size_t i = 0; i < pattern.size; ++i)
        taken.push_back(times[(i / pattern.run * pattern.step + pattern.first) % times.size()]);
    return taken;
}

double RandomTree::number()
{
    const auto choice = bytes->ConsumeIntegral<std::uint8_t>();
    if (choice < std::size(numbers))
        return numbers[choice];
    if (choice < 224)
        return (choice - 128) / 8.0;
    return std::bit_cast<double>(bytes->ConsumeIntegral<std::uint64_t>());
}

const char* RandomTree::name()
{
    constexpr const char* names[] = {"lamp", "camera", "", nullptr};
    return names[below(std::size(names))];
}

// Mostly one whose values are compiled to kernels.
ValueType RandomTree::anyKind()
{
    using enum ValueType;
    constexpr ValueType typed[] = {Double, Vector, Matrix, Color, AColor, Transform};
    return below(3) > 0 ? typed[below(std::size(typed))] : ValueType(below(12));
}

// Mostly the real count.
int RandomTree::count(int real)
{
    const int choice = below(16);
    return choice < 12 ? real : choice - 14 + real;
}

template <typename Node>
Node* RandomTree::make()
{
    Node* node = program.make<Node>();
    made.push_back(node);
    node->hostData = made.size();
    return node;
}

ExpressionAST* RandomTree::node(ValueType wanted)
{
    constexpr int mostLevels = 150;
    if (levels == mostLevels)
        return nullptr;
    ++levels;
    ExpressionAST* node = wanted != ValueType::Undefined && below(32) < 31 ? nodeOf(wanted) : anyNode();
    --levels;
    return node;
}

// No bytes are zeros, which are numbers and literals of them: a tree ends where its bytes do.
// clang-format off
ExpressionAST* RandomTree::anyNode()
{
    switch (below(40)) {
    case 1: case 2: case 3: case 4: return binary(anyKind());
    case 5: case 6: return builtin();
    case 7: case 8: return list();
    case 9: case 10: return reference();
    case 11: case 12: return element();
    case 13: case 14: return keys(anyKind());
    case 15: return negated(anyKind());
    case 16: return vector(3);
    case 17: return vector(below(8));
    case 18: return matrix();
    case 19: return alphaColor();
    case 20: return transform();
    case 21: return placed(make<TransformHexExpressionAST>());
    case 22: return string();
    case 23: return named<ObjectReferenceAST>();
    case 24: return named<RuntimeValueAST>();
    case 25: return data<Vector>();
    case 26: return data<int>();
    case 27: return data<Color>();
    case 28: return data<float>();
    case 29: return data<CharString>();
    case 30: return identifier();
    case 31: return handedOn();
    case 32: case 33: return made.empty() ? nullptr : made[static_cast<std::size_t>(below(static_cast<int>(made.size())))];
    case 34: return nullptr;
    case 35: case 36: return function(anyKind());
    }
    return constant();
}

// Trees of kinds at random fail early; this one has a value of that kind if those below it have.
ExpressionAST* RandomTree::nodeOf(ValueType kind)
{
    switch (below(16)) {
    case 1: case 2: case 3: case 4: return binary(kind);
    case 5: case 6: return keys(kind);
    case 7: return negated(kind);
    case 8: return reference();
    case 9: return element(kind);
    case 10: return function(kind);
    }
    switch (kind) {
    case ValueType::Double:
        switch (below(8)) {
        case 1: return builtin();
        case 2: case 3: case 4: return time();
        case 5: case 6: return binary(kind);
        }
        return constant();
    case ValueType::List:       return list();
    case ValueType::Vector:     return vector(3);
    case ValueType::Matrix:     return matrix();
    case ValueType::Color:      return vector(5);
    case ValueType::AColor:     return alphaColor();
    case ValueType::Transform:  return transform();
    case ValueType::ListVector: return data<Vector>();
    case ValueType::ListInt:    return data<int>();
    case ValueType::ListColor:  return data<Color>();
    case ValueType::ListFloat:  return data<float>();
    default:                    return reference();
    }
}
// clang-format on

ExpressionAST* RandomTree::constant()
{
    auto* node = make<NumberExpressionAST>();
    node->number = number();
    return node;
}

ExpressionAST* RandomTree::time()
{
    auto* node = make<BuiltinFunctionAST>();
    node->functionId = static_cast<int>(Builtin::Time);
    return node;
}

// Mostly one that lists have.
ExpressionAST* RandomTree::index()
{
    switch (below(8)) {
    case 1:
    case 2: return time();
    case 3:
    case 4: return node(ValueType::Double);
    }
    auto* node = make<NumberExpressionAST>();
    node->number = below(4);
    return node;
}

ExpressionAST* RandomTree::binary(ValueType kind)
{
    auto* node = make<BinaryExpressionAST>();
    const int op = below(32);
    node->op = TOKENTYPE(op < 30 ? TOKEN_PLUS + op % 4 : 42 - op);
    node->left = this->node(kind);
    const int other = below(8);
    // By a number, for few kinds are multiplied or divided by themselves.
    const bool scales = node->op == TOKEN_MULTIPLY || node->op == TOKEN_DIVIDE;
    node->right = this->node(other == 1 ? anyKind() : other == 2 || (scales && other < 7) ? ValueType::Double : kind);
    return node;
}

ExpressionAST* RandomTree::builtin()
{
    auto* node = make<BuiltinFunctionAST>();
    node->functionId = below(16) - 1;
    node->sample = singleNumber();
    const bool takesVectors = node->functionId == 8 || node->functionId == 9 || node->functionId == 11;
    const int given = below(8) == 1 ? below(5) : 2;
    for (int i = 0; i < given; ++i)
        node->args[i] = this->node(takesVectors ? ValueType::Vector : ValueType::Double);
    node->argCount = count(given);
    return node;
}

ExpressionAST* RandomTree::list(ValueType kind)
{
    auto* node = make<ListExpressionAST>();
    for (int items = below(5); items > 0; --items)
        program.append(node, this->node(kind));
    node->itemCount = count(node->itemCount);
    return node;
}

ExpressionAST* RandomTree::reference()
{
    auto* node = make<PropertyReferenceAST>();
    const int choice = below(static_cast<int>(properties.size()) + 1);
    if (choice > 0)
        node->property = properties[static_cast<std::size_t>(choice - 1)];
    return node;
}

ExpressionAST* RandomTree::element(ValueType kind)
{
    auto* node = make<ArrayExpressionAST>();
    const bool isAny = kind == ValueType::Undefined;
    const int target = below(4);
    node->target = target == 1 ? reference() : target == 2 || !isAny ? list(kind) : this->node(anyKind());
    for (int indices = isAny ? below(4) : 1; indices > 0; --indices)
        node->indices.push_back(index());
    return node;
}

ExpressionAST* RandomTree::keys(ValueType kind)
{
    auto* node = make<InterpolateExpressionAST>();
    interpolations.push_back(node);
    for (int keys = below(16) == 1 ? 0 : 1 + below(4); keys > 0; --keys) {
        ExpressionAST* time = below(8) < 6 ? constant() : this->node(ValueType::Double);
        program.append(node, time, this->node(kind));
    }
    node->keyCount = count(node->keyCount);
    return node;
}

ExpressionAST* RandomTree::negated(ValueType kind)
{
    auto* node = make<NegatedExpressionAST>();
    node->operand = this->node(kind);
    return node;
}

ExpressionAST* RandomTree::vector(int type)
{
    auto* node = make<VectorExpressionAST>();
    node->valueType = type;
    for (ExpressionAST*& component : node->components)
        component = this->node(ValueType::Double);
    return node;
}

ExpressionAST* RandomTree::matrix()
{
    auto* node = make<MatrixExpressionAST>();
    for (ExpressionAST*& column : node->columns)
        column = this->node(ValueType::Vector);
    return node;
}

ExpressionAST* RandomTree::alphaColor()
{
    auto* node = make<AColorExpressionAST>();
    for (ExpressionAST*& component : node->components)
        component = this->node(ValueType::Double);
    return node;
}

ExpressionAST* RandomTree::transform()
{
    auto* node = make<TransformExpressionAST>();
    node->matrix = this->node(ValueType::Matrix);
    node->offset = this->node(ValueType::Vector);
    return node;
}

ExpressionAST* RandomTree::identifier()
{
    auto* node = make<ObjectIDExpressionAST>();
    node->objectID.value = bytes->ConsumeIntegral<std::uint64_t>();
    return node;
}

// Of few arguments, mostly of the kinds that it takes, and with a value of the wanted kind.
ExpressionAST* RandomTree::function(ValueType kind)
{
    using Rule = RandomFunctionAST::Rule;
    auto* node = make<RandomFunctionAST>();
    constexpr Rule numberRules[] = {Rule::Weighted, Rule::Clock, Rule::First, Rule::Choosy};
    node->rule = kind == ValueType::Double ? numberRules[below(std::size(numberRules))] : Rule(below(3) == 0);
    node->saysPure = below(3) > 0;
    node->saysKinds = below(3) > 0;
    const int count = below(4);
    for (int i = 0; i < count; ++i)
        node->takes.push_back(below(4) > 0 ? kind : anyKind());
    for (const ValueType wanted : node->takes)
        node->arguments.push_back(this->node(wanted));
    return node;
}

ExpressionAST* RandomTree::handedOn()
{
    auto* node = make<HandingOnAST>();
    node->met = &hostsMet;
    node->fails = below(2) == 0;
    const auto unlessOfThisKind = [](ExpressionAST* given) { return isHandingOn(given) ? nullptr : given; };
    node->inner = unlessOfThisKind(this->node());
    if (below(2) == 0)
        node->other = unlessOfThisKind(this->node());
    return node;
}

ExpressionAST* RandomTree::string()
{
    auto* node = placed(make<StringExpressionAST>());
    node->scenePath = name();
    node->text = name();
    node->loaded = below(2);
    return node;
}

template <typename Node>
ExpressionAST* RandomTree::named()
{
    auto* node = make<Node>();
    node->objectName = name();
    if constexpr (std::is_same_v<Node, RuntimeValueAST>)
        node->propertyName = name();
    if (below(8) > 0)
        node->parser = &parser;
    return node;
}

// Gives a node its place in the source.
template <typename Node>
Node* RandomTree::placed(Node* node)
{
    const auto choice = static_cast<std::size_t>(below(16));
    if (choice < std::size(texts)) {
        node->sourceOffset = texts[choice].empty() ? 0 : static_cast<std::int64_t>(source.find(texts[choice]));
        node->length = static_cast<int>(texts[choice].size());
    } else {
        node->sourceOffset = bytes->ConsumeIntegral<std::uint8_t>();
        node->length = bytes->ConsumeIntegral<std::uint8_t>() - 2;
    }
    const int missing = below(16);
    node->owner = missing == 1 ? nullptr : &owner;
    node->stream = missing == 2 ? nullptr : &stream;
    return node;
}

template <typename T>
void RandomTree::fill(PtrArray<T>& values)
{
    values.allocArray(below(4));
    for (T& value : std::span(values.data, static_cast<std::size_t>(values.count))) {
        if constexpr (std::is_same_v<T, CharString>)
            value = name();
        else if constexpr (std::is_same_v<T, int>)
            value = bytes->ConsumeIntegral<int>();
        else if constexpr (std::is_same_v<T, float>)
            value = singleNumber();
        else
            value = {singleNumber(), singleNumber(), singleNumber()};
    }
}

template <typename T>
ExpressionAST* RandomTree::data()
{
    auto* node = placed(make<ListTypeExpressionAST<T>>());
    node->scenePath = name();
    if (below(4) == 1)
        return node;
    node->loaded = 1;
    fill(node->values);
    shareCounts.push_back(&node->values.shared->refCount);
    return node;
}

template void RandomTree::fill(PtrArray<Vector>&);
template void RandomTree::fill(PtrArray<int>&);
template void RandomTree::fill(PtrArray<Color>&);
template void RandomTree::fill(PtrArray<float>&);
template void RandomTree::fill(PtrArray<CharString>&);

bool isHandingOn(const ExpressionAST* node)
{
    return dynamic_cast<const HandingOnAST*>(node) != nullptr;
}

std::vector<ExpressionAST**> childrenOf(ExpressionAST* node)
{
    std::vector<ExpressionAST**> children;
    const auto add = [&](auto&... places) { (children.push_back(&places), ...); };
    const auto addAll = [&](auto& places) {
        for (ExpressionAST*& place : places)
            add(place);
    };
    if (auto* binary = dynamic_cast<BinaryExpressionAST*>(node))
        add(binary->left, binary->right);
    else if (auto* negated = dynamic_cast<NegatedExpressionAST*>(node))
        add(negated->operand);
    else if (auto* builtin = dynamic_cast<BuiltinFunctionAST*>(node))
        addAll(builtin->args);
    else if (auto* vector = dynamic_cast<VectorExpressionAST*>(node))
        addAll(vector->components);
    else if (auto* matrix = dynamic_cast<MatrixExpressionAST*>(node))
        addAll(matrix->columns);
    else if (auto* color = dynamic_cast<AColorExpressionAST*>(node))
        addAll(color->components);
    else if (auto* transform = dynamic_cast<TransformExpressionAST*>(node))
        add(transform->matrix, transform->offset);
    else if (auto* function = dynamic_cast<FunctionExpressionAST*>(node))
        addAll(function->arguments);
    else if (auto* handingOn = dynamic_cast<HandingOnAST*>(node))
        add(handingOn->inner, handingOn->other);
    else if (auto* element = dynamic_cast<ArrayExpressionAST*>(node)) {
        add(element->target);
        addAll(element->indices);
    } else if (auto* list = dynamic_cast<ListExpressionAST*>(node)) {
        for (ListItem* item = list->firstItem; item; item = item->next)
            add(item->expression);
    } else if (auto* keys = dynamic_cast<InterpolateExpressionAST*>(node)) {
        for (InterpolateKey* key = keys->firstKey; key; key = key->next)
            add(key->time, key->value);
    }
    return children;
}

} // namespace Marl::Fuzz
