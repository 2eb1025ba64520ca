#include <host/output/components.h>

#include <host/report/number_text.h>

namespace Marl::Host {

namespace {

// clang-format off
constexpr Component ofDouble[] = {{"", false}};
constexpr Component ofVector[] = {{".x", false}, {".y", false}, {".z", false}};
constexpr Component ofColor[]  = {{".r", true},  {".g", true},  {".b", true}};
constexpr Component ofAColor[] = {{".r", true},  {".g", true},  {".b", true}, {".a", true}};
constexpr Component ofMatrix[] = {
    {".0.x", true}, {".0.y", true}, {".0.z", true},
    {".1.x", true}, {".1.y", true}, {".1.z", true},
    {".2.x", true}, {".2.y", true}, {".2.z", true}};
constexpr Component ofTransform[] = {
    {".matrix.0.x", true}, {".matrix.0.y", true}, {".matrix.0.z", true},
    {".matrix.1.x", true}, {".matrix.1.y", true}, {".matrix.1.z", true},
    {".matrix.2.x", true}, {".matrix.2.y", true}, {".matrix.2.z", true},
    {".offset.x", false},  {".offset.y", false},  {".offset.z", false}};
// clang-format on

void append(double number, std::vector<double>& numbers)
{
    numbers.push_back(number);
}

void append(const TracePoint& p, std::vector<double>& numbers)
{
    numbers.insert(numbers.end(), {p.x, p.y, p.z});
}

void append(const Color& c, std::vector<double>& numbers)
{
    for (const float component : {c.r, c.g, c.b})
        numbers.push_back(static_cast<double>(component));
}

void append(const AColor& c, std::vector<double>& numbers)
{
    for (const float component : {c.r, c.g, c.b, c.alpha})
        numbers.push_back(static_cast<double>(component));
}

void append(const Matrix& matrix, std::vector<double>& numbers)
{
    for (const Vector& column : matrix.columns)
        for (const float component : {column.x, column.y, column.z})
            numbers.push_back(static_cast<double>(component));
}

void append(const TraceTransform& transform, std::vector<double>& numbers)
{
    append(transform.matrix, numbers);
    append(transform.offset, numbers);
}

} // namespace

std::span<const Component> componentsOf(int kind)
{
    switch (ValueType(kind)) {
    case ValueType::Double: return ofDouble;
    case ValueType::Vector: return ofVector;
    case ValueType::Color: return ofColor;
    case ValueType::AColor: return ofAColor;
    case ValueType::Matrix: return ofMatrix;
    case ValueType::Transform: return ofTransform;
    default: return {};
    }
}

void appendNumbers(const Value& value, std::vector<double>& numbers)
{
    switch (value.kind()) {
    case ValueType::Double: append(value.getDouble(), numbers); break;
    case ValueType::Vector: append(value.getTracePoint(), numbers); break;
    case ValueType::Color: append(value.getColor(), numbers); break;
    case ValueType::AColor: append(value.getAColor(), numbers); break;
    case ValueType::Matrix: append(value.getMatrix(), numbers); break;
    case ValueType::Transform: append(value.getTransform(), numbers); break;
    default: break;
    }
}

// Of a column of one kind all other spans are empty.
void appendNumbers(const Column& column, std::vector<double>& numbers)
{
    const auto appendAll = [&](const auto& records) {
        for (const auto& record : records)
            append(record, numbers);
    };
    appendAll(column.numbers());
    appendAll(column.vectors());
    appendAll(column.colors());
    appendAll(column.acolors());
    appendAll(column.matrices());
    appendAll(column.transforms());
}

std::vector<std::string> componentTexts(int kind, std::span<const double> numbers)
{
    const auto components = componentsOf(kind);
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < components.size(); ++i)
        texts.push_back(components[i].isSingle ? numberText(static_cast<float>(numbers[i])) : numberText(numbers[i]));
    return texts;
}

} // namespace Marl::Host
