#include <host/output/json_text.h>

#include <host/output/components.h>
#include <host/output/lists.h>
#include <host/output/value_text.h>
#include <host/report/number_text.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <vector>

namespace Marl::Host {

namespace {

// Readers may take "-0" for an integer, which has no negative zero.
std::string guarded(const std::string& text)
{
    if (text == "-0")
        return "-0.0";
    return text.find_first_of("in") == std::string::npos ? text : '"' + text + '"';
}

std::string jsonFloat(float number)
{
    return guarded(numberText(number));
}

std::string jsonThree(float first, float second, float third)
{
    return fmt::format("[{}, {}, {}]", jsonFloat(first), jsonFloat(second), jsonFloat(third));
}

std::string jsonVector(const Vector& v)
{
    return jsonThree(v.x, v.y, v.z);
}

std::string jsonColor(const Color& c)
{
    return jsonThree(c.r, c.g, c.b);
}

std::string jsonOfAny(const Value& value, int depth)
{
    const auto integer = [](int n) { return std::to_string(n); };
    const auto text = [](const CharString& t) { return jsonText(textOf(t)); };

    switch (value.kind()) {
    case ValueType::Undefined: return "null";
    case ValueType::List: return fmt::format("[{}]", joinedNested(value, depth, jsonOfAny));
    case ValueType::ListVector: return fmt::format("[{}]", joined(value.getListVector(), ", ", jsonVector));
    case ValueType::ListInt: return fmt::format("[{}]", joined(value.getListInt(), ", ", integer));
    case ValueType::ListColor: return fmt::format("[{}]", joined(value.getListColor(), ", ", jsonColor));
    case ValueType::ListFloat: return fmt::format("[{}]", joined(value.getListFloat(), ", ", jsonFloat));
    case ValueType::String: return text(value.getString());
    case ValueType::ListString: return fmt::format("[{}]", joined(value.getListString(), ", ", text));
    case ValueType::Object:
    case ValueType::ObjectID:
    case ValueType::RuntimeValue: return jsonText(valueText(value));
    default: {
        std::vector<double> numbers;
        appendNumbers(value, numbers);
        return jsonRecord(value.getValueType(), numbers);
    }
    }
}

} // namespace

std::string jsonText(std::string_view text)
{
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string jsonNumber(double number)
{
    return guarded(numberText(number));
}

std::string jsonRecord(int kind, std::span<const double> numbers)
{
    std::vector<std::string> texts = componentTexts(kind, numbers);
    std::ranges::transform(texts, texts.begin(), guarded);
    const auto group = [&](std::size_t from, std::size_t count) {
        return fmt::format("[{}]", fmt::join(std::span(texts).subspan(from, count), ", "));
    };
    const auto matrix = [&] { return fmt::format("[{}, {}, {}]", group(0, 3), group(3, 3), group(6, 3)); };

    switch (ValueType(kind)) {
    case ValueType::Double: return texts.front();
    case ValueType::Matrix: return matrix();
    case ValueType::Transform: return fmt::format("[{}, {}]", matrix(), group(9, 3));
    default: return group(0, texts.size());
    }
}

std::string jsonValue(const Value& value)
{
    return jsonOfAny(value, 0);
}

} // namespace Marl::Host
