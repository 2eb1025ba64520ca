#include <tests/support/shown.h>

#include <charconv>
#include <cmath>
#include <utility>

namespace Marl::Tests {

namespace {

std::string text(std::floating_point auto number)
{
    if (std::isnan(number))
        return "nan";
    char digits[32];
    return std::string(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

// clang-format off
std::string text(int number)                { return std::to_string(number); }
std::string text(const char* t)             { return t ? "\"" + std::string(t) + "\"" : "null"; }
std::string text(const CharString& t)       { return text(static_cast<const char*>(t)); }
std::string text(const Vector& v)           { return text(v.x) + " " + text(v.y) + " " + text(v.z); }
std::string text(const TracePoint& p)       { return text(p.x) + " " + text(p.y) + " " + text(p.z); }
std::string text(const Color& c)            { return text(c.r) + " " + text(c.g) + " " + text(c.b); }
std::string text(const AColor& c)           { return text(c.r) + " " + text(c.g) + " " + text(c.b) + " " + text(c.alpha); }
std::string text(const Matrix& m)           { return text(m.columns[0]) + ", " + text(m.columns[1]) + ", " + text(m.columns[2]); }
std::string text(const TraceTransform& t)   { return text(t.matrix) + ", " + text(t.offset); }
std::string text(const Value& value)        { return shown(value); }
std::string text(const Object* object)      { return object ? object->name : "nothing"; }
// clang-format on

template <typename T>
std::string elements(PtrArray<T>&& given, const char* between = ", ")
{
    const ArrayHold list(std::move(given));
    std::string all = "[";
    for (int i = 0; i < list->count; ++i)
        all += (i == 0 ? "" : between) + text(list[i]);
    return all + "]";
}

Value withPath(Value value, const char* path)
{
    value.setScenePath(path);
    return value;
}

} // namespace

std::string shown(const Value& value)
{
    const CharString path = value.getScenePath();
    const std::string place = path == nullptr ? "" : " in " + text(path);
    // clang-format off
    switch (value.kind()) {
    case ValueType::Undefined:    return "undefined";
    case ValueType::Double:       return text(value.getDouble());
    case ValueType::List:         return elements(value.getList());
    case ValueType::Vector:       return "vec(" + text(value.getTracePoint()) + ")";
    case ValueType::Matrix:       return "mat(" + text(value.getMatrix()) + ")";
    case ValueType::Color:        return "rgb(" + text(value.getColor()) + ")";
    case ValueType::AColor:       return "rgba(" + text(value.getAColor()) + ")";
    case ValueType::Transform:    return "xform(" + text(value.getTransform()) + ")";
    case ValueType::ListVector:   return "vec" + elements(value.getListVector());
    case ValueType::ListInt:      return "int" + elements(value.getListInt(), " ");
    case ValueType::ListColor:    return "rgb" + elements(value.getListColor());
    case ValueType::ListFloat:    return "float" + elements(value.getListFloat(), " ");
    case ValueType::String:       return text(value.getString()) + place;
    case ValueType::ListString:   return "string" + elements(value.getListString()) + place;
    case ValueType::Object:       return "@" + text(value.getObject());
    case ValueType::ObjectID:     return "id(" + std::to_string(value.getObjectID().value) + ")";
    case ValueType::RuntimeValue: return "@" + text(value.getRuntimeValue().object) + "." + text(value.getRuntimeValue().name);
    }
    // clang-format on
    return "a kind that there is not";
}

Value sampleOf(char letter)
{
    static Object lamp{"lamp"};
    const Matrix turned({0, 1, 0}, {-1, 0, 0}, {0, 0, 2});
    // clang-format off
    switch (letter) {
    case 'N': return 2.5;
    case 'L': return listOf<Value>({1.0, Color{1, 0, 0}});
    case 'V': return TracePoint{1, 2, 3};
    case 'M': return turned;
    case 'C': return Color{0.25f, 0.5f, 0.75f};
    case 'A': return AColor{0.25f, 0.5f, 0.75f, 1};
    case 'T': return TraceTransform{turned, {10, 20, 30}};
    case 'v': return listOf<Vector>({{1, 2, 3}, {4, 5, 6}});
    case 'i': return listOf({1, -2});
    case 'c': return listOf<Color>({{1, 0, 0}});
    case 'f': return listOf({0.5f, 0.25f});
    case 's': return withPath(CharString("text"), "a.scene");
    case 'S': return withPath(listOf<CharString>({"one", "two"}), "b.scene");
    case 'o': return &lamp;
    case 'd': return ObjectID{77};
    case 'r': return RuntimeValue{&lamp, "power"};
    }
    // clang-format on
    return Value();
}

} // namespace Marl::Tests
