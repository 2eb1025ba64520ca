#include <host/scene/tree_builder.h>

#include <host/report/did_you_mean.h>
#include <host/scene/sample.h>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <utility>

namespace Marl::Host {

namespace {

constexpr std::uint32_t sampleSeed = 0;

}

void TreeBuilder::beginObject()
{
    objectName = takeName();
    object = program.addObject(objectName.text.c_str());
    places.note(object, objectName.place);
}

void TreeBuilder::beginNameless()
{
    objectName = {};
    object = program.addObject("");
}

void TreeBuilder::beginProperty()
{
    propertyName = takeName();
    isInProperty = true;
    samplesDrawn = 0;
}

void TreeBuilder::endProperty()
{
    places.note(object->addProperty(propertyName.text.c_str(), take().node), propertyName.place);
    isInProperty = false;
}

void TreeBuilder::giveUpStatement()
{
    if (isInProperty)
        places.note(object->addProperty(propertyName.text.c_str(), nullptr), propertyName.place);
    isInProperty = false;
    names.clear();
    operands.clear();
    signs.clear();
    brackets.clear();
}

TreeBuilder::Name TreeBuilder::takeName()
{
    Name taken = std::move(names.back());
    names.pop_back();
    return taken;
}

void TreeBuilder::push(ExpressionAST* node, Span place)
{
    places.note(node, place);
    operands.push_back({node, place});
}

TreeBuilder::Operand TreeBuilder::take()
{
    const Operand taken = operands.back();
    operands.pop_back();
    return taken;
}

void TreeBuilder::number(Span place, std::string_view text)
{
    auto* node = program.make<NumberExpressionAST>();
    if (const auto fault = readNumberText(text, node->number))
        mistakes.note(place, fmt::format("{} is not {}", mistakes.quoted(place), fault->expected));
    push(node, place);
}

void TreeBuilder::constant(Span place, std::string_view word)
{
    push(makeBuiltin(findWord(word)->constant), place);
}

// Only calls that keep a sample are counted, so that another function beside them changes nothing.
BuiltinFunctionAST* TreeBuilder::makeBuiltin(Builtin function)
{
    auto* node = program.make<BuiltinFunctionAST>();
    node->functionId = static_cast<int>(function);
    if (function == Builtin::Sample || function == Builtin::Uniform)
        node->sample = drawSample(objectName.text, propertyName.text, samplesDrawn++, sampleSeed);
    return node;
}

template <typename Node>
Node* TreeBuilder::makeFromSource()
{
    auto* node = program.make<Node>();
    const auto [begin, end] = contentPlace;
    if (end - begin > std::numeric_limits<int>::max())
        mistakes.note({begin, begin}, fmt::format("{} bytes are more than one literal can hold", end - begin));
    else
        node->length = static_cast<int>(end - begin);
    node->owner = &file.owner;
    node->stream = &file;
    node->sourceOffset = begin;
    return node;
}

void TreeBuilder::text(Span place)
{
    auto* node = makeFromSource<StringExpressionAST>();
    node->scenePath = scenePath;
    push(node, place);
}

template <typename T>
ListTypeExpressionAST<T>* TreeBuilder::makeList()
{
    auto* node = makeFromSource<ListTypeExpressionAST<T>>();
    node->scenePath = scenePath;
    return node;
}

void TreeBuilder::data(Span place)
{
    close();
    const std::string word = takeName().text;
    if (word == "vec")
        push(makeList<Vector>(), place);
    else if (word == "rgb")
        push(makeList<Color>(), place);
    else if (word == "float")
        push(makeList<float>(), place);
    else if (word == "int")
        push(makeList<int>(), place);
    else
        push(makeList<CharString>(), place);
}

void TreeBuilder::hexTransform(Span place)
{
    close();
    push(makeFromSource<TransformHexExpressionAST>(), place);
}

void TreeBuilder::objectID(Span place)
{
    close();
    const std::string digits = takeName().text.substr(2);
    auto* node = program.make<ObjectIDExpressionAST>();
    std::from_chars(digits.data(), digits.data() + digits.size(), node->objectID.value, 16);
    push(node, place);
}

void TreeBuilder::reference(Span place)
{
    const Name property = takeName(), owner = takeName();
    auto* node = program.make<PropertyReferenceAST>();
    node->objectName = owner.text.c_str();
    node->propertyName = property.text.c_str();
    push(node, place);
}

void TreeBuilder::ownReference(Span place)
{
    names.insert(names.end() - 1, objectName);
    reference(place);
}

void TreeBuilder::runtimeObject(Span place)
{
    auto* node = program.make<ObjectReferenceAST>();
    node->objectName = takeName().text.c_str();
    push(node, place);
}

void TreeBuilder::runtimeProperty(Span place)
{
    const Name property = takeName(), owner = takeName();
    auto* node = program.make<RuntimeValueAST>();
    node->objectName = owner.text.c_str();
    node->propertyName = property.text.c_str();
    push(node, place);
}

void TreeBuilder::open(Span place, std::string_view bracket)
{
    brackets.push_back({{place.begin, bracket.front(), false}, operands.size()});
}

void TreeBuilder::openList(Span place, std::string_view bracket)
{
    brackets.push_back({{place.begin, bracket.front(), true}, operands.size()});
}

std::vector<TreeBuilder::Operand> TreeBuilder::close()
{
    const auto first = operands.begin() + static_cast<std::ptrdiff_t>(brackets.back().operandsBefore);
    std::vector<Operand> held(first, operands.end());
    operands.erase(first, operands.end());
    brackets.pop_back();
    return held;
}

void TreeBuilder::group(Span place)
{
    operands.push_back({close().front().node, place});
}

void TreeBuilder::list(Span place)
{
    auto* node = program.make<ListExpressionAST>();
    for (const Operand& item : close())
        program.append(node, item.node);
    push(node, place);
}

void TreeBuilder::keys(Span place)
{
    auto* node = program.make<InterpolateExpressionAST>();
    const std::vector<Operand> parts = close();
    for (std::size_t i = 0; i + 1 < parts.size(); i += 2) {
        program.append(node, parts[i].node, parts[i + 1].node);
        places.note(node->lastKey, {parts[i].place.begin, parts[i + 1].place.end});
    }
    push(node, place);
}

// A wrong call leaves a number in its place, so that the rest of the statement is read all the same.
void TreeBuilder::call(Span place)
{
    const std::vector<Operand> values = close();
    const Name called = takeName();
    ExpressionAST* node = makeCall(called, values);
    push(node ? node : program.make<NumberExpressionAST>(), place);
}

ExpressionAST* TreeBuilder::makeCall(const Name& called, const std::vector<Operand>& values)
{
    if (const Function* function = findFunction(called.text))
        return takes(called, values, function->fewestArguments(), function->form.takesMore)
            ? makeFunction(*function, values)
            : nullptr;
    const Word* word = findWord(called.text);
    if (word && word->takesRoundBrackets())
        return takes(called, values, word->values, false) ? makeRecord(*word, values) : nullptr;
    if (word && word->use == Word::Data)
        mistakes.note(called.place, fmt::format("`{0}` takes square brackets: {0}[...]", called.text));
    else
        mistakes.note(called.place, fmt::format("there is no function {}", mistakes.quoted(called.place)),
                      didYouMean(called.text, callableNames()));
    return nullptr;
}

bool TreeBuilder::takes(const Name& called, const std::vector<Operand>& values, std::size_t fewest, bool orMore)
{
    const std::size_t given = values.size();
    if (given == fewest || (given > fewest && orMore))
        return true;
    const bool hasDecimalComma =
        given > fewest && mistakes.hasDecimalComma({values.front().place.begin, values.back().place.end});
    mistakes.note(called.place,
                  fmt::format("{}() takes {} {}{}, {} {} given", called.text, fewest, orMore ? "or more " : "",
                              fewest == 1 ? "value" : "values", given, given == 1 ? "is" : "are"),
                  hasDecimalComma ? SyntaxMistakes::pointHint : "");
    return false;
}

ExpressionAST* TreeBuilder::makeRecord(const Word& word, const std::vector<Operand>& values)
{
    const auto fill = [&](auto& slots) { std::ranges::transform(values, slots, &Operand::node); };
    switch (word.use) {
    case Word::Vector:
    case Word::Color: {
        auto* node = program.make<VectorExpressionAST>();
        node->valueType = static_cast<int>(word.use == Word::Vector ? ValueType::Vector : ValueType::Color);
        fill(node->components);
        return node;
    }
    case Word::AColor: {
        auto* node = program.make<AColorExpressionAST>();
        fill(node->components);
        return node;
    }
    case Word::Matrix: {
        auto* node = program.make<MatrixExpressionAST>();
        fill(node->columns);
        return node;
    }
    default: {
        auto* node = program.make<TransformExpressionAST>();
        node->matrix = values[0].node;
        node->offset = values[1].node;
        return node;
    }
    }
}

ExpressionAST* TreeBuilder::makeFunction(const Function& function, const std::vector<Operand>& values)
{
    if (function.form.builtin) {
        BuiltinFunctionAST* node = makeBuiltin(*function.form.builtin);
        node->argCount = static_cast<int>(values.size());
        std::ranges::transform(values, node->args, &Operand::node);
        return node;
    }
    FunctionExpressionAST* node = function.form.make(program, function);
    std::ranges::transform(values, std::back_inserter(node->arguments), &Operand::node);
    return node;
}

void TreeBuilder::firstIndices(Span place)
{
    const std::vector<Operand> given = close();
    auto* node = program.make<ArrayExpressionAST>();
    node->target = std::exchange(operands.back().node, node);
    addIndices(given, place);
}

void TreeBuilder::moreIndices(Span place)
{
    addIndices(close(), place);
}

void TreeBuilder::addIndices(const std::vector<Operand>& given, Span place)
{
    Operand& array = operands.back();
    array.place.end = place.end;
    for (const Operand& index : given)
        static_cast<ArrayExpressionAST*>(array.node)->indices.push_back(index.node);
}

void TreeBuilder::endIndexed()
{
    places.note(operands.back().node, operands.back().place);
}

void TreeBuilder::sign(Span, std::string_view op)
{
    switch (op.front()) {
    case '+': signs.push_back(TOKEN_PLUS); break;
    case '-': signs.push_back(TOKEN_MINUS); break;
    case '*': signs.push_back(TOKEN_MULTIPLY); break;
    default: signs.push_back(TOKEN_DIVIDE);
    }
}

void TreeBuilder::combine()
{
    const Operand right = take(), left = take();
    auto* node = program.make<BinaryExpressionAST>();
    node->left = left.node;
    node->right = right.node;
    node->op = signs.back();
    signs.pop_back();
    push(node, {left.place.begin, right.place.end});
}

void TreeBuilder::negate(Span place)
{
    auto* node = program.make<NegatedExpressionAST>();
    const Operand operand = take();
    node->operand = operand.node;
    push(node, {place.begin, operand.place.end});
}

} // namespace Marl::Host
