#include <host/output/value_text.h>

#include <host/output/components.h>
#include <host/output/lists.h>
#include <host/report/number_text.h>
#include <host/scene/running_scene.h>

#include <fmt/format.h>

namespace Marl::Host {

namespace {

std::string threeText(float first, float second, float third)
{
    return fmt::format("{} {} {}", numberText(first), numberText(second), numberText(third));
}

// In the quotes that the text does not contain, as far as there are any.
std::string quotedText(const CharString& text)
{
    const std::string_view view = textOf(text);
    const bool isOneLine = view.find('\n') == std::string_view::npos;
    const char* quote = isOneLine && view.find('"') == std::string_view::npos ? "\""
        : isOneLine && view.find('\'') == std::string_view::npos              ? "'"
                                                                              : "\"\"\"";
    return fmt::format("{0}{1}{0}", quote, view);
}

// A record, as its constructor in the scene text.
std::string recordText(const Value& value)
{
    const int kind = value.getValueType();
    std::vector<double> numbers;
    appendNumbers(value, numbers);
    const std::vector<std::string> texts = componentTexts(kind, numbers);
    const auto group = [&](std::string_view word, std::size_t from, std::size_t count) {
        return fmt::format("{}({})", word, fmt::join(std::span(texts).subspan(from, count), ", "));
    };
    const auto matrix = [&] {
        return fmt::format("mat({}, {}, {})", group("vec", 0, 3), group("vec", 3, 3), group("vec", 6, 3));
    };

    switch (ValueType(kind)) {
    case ValueType::Vector: return group("vec", 0, 3);
    case ValueType::Color: return group("rgb", 0, 3);
    case ValueType::AColor: return group("rgba", 0, 4);
    case ValueType::Matrix: return matrix();
    case ValueType::Transform: return fmt::format("xform({}, {})", matrix(), group("vec", 9, 3));
    default: return texts.front();
    }
}

std::string objectText(const Object* object)
{
    return object ? '@' + quotedName(object->name) : "undefined";
}

std::string textOfAny(const Value& value, int depth)
{
    const auto vector = [](const Vector& v) { return threeText(v.x, v.y, v.z); };
    const auto color = [](const Color& c) { return threeText(c.r, c.g, c.b); };
    const auto number = [](float n) { return numberText(n); };
    const auto integer = [](int n) { return std::to_string(n); };

    switch (value.kind()) {
    case ValueType::Undefined: return "undefined";
    case ValueType::List: return fmt::format("[{}]", joinedNested(value, depth, textOfAny));
    case ValueType::ListVector: return fmt::format("vec[{}]", joined(value.getListVector(), ", ", vector));
    case ValueType::ListInt: return fmt::format("int[{}]", joined(value.getListInt(), " ", integer));
    case ValueType::ListColor: return fmt::format("rgb[{}]", joined(value.getListColor(), ", ", color));
    case ValueType::ListFloat: return fmt::format("float[{}]", joined(value.getListFloat(), " ", number));
    case ValueType::String: return quotedText(value.getString());
    case ValueType::ListString: return fmt::format("string[{}]", joined(value.getListString(), ", ", quotedText));
    case ValueType::Object: return objectText(value.getObject());
    case ValueType::ObjectID: return fmt::format("id(0x{:x})", value.getObjectID().value);
    case ValueType::RuntimeValue: {
        const RuntimeValue runtime = value.getRuntimeValue();
        return fmt::format("{}.{}", objectText(runtime.object), quotedName(textOf(runtime.name)));
    }
    default: return recordText(value);
    }
}

} // namespace

std::string valueText(const Value& value)
{
    return textOfAny(value, 0);
}

} // namespace Marl::Host
