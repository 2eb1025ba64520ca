#include <marl/value/value.h>

#include <marl/value/detail/precision.h>

#include <memory>
#include <span>
#include <utility>

namespace Marl {

namespace {

// Results are stored component by component, and a copy in wide moves would wait until the narrow stores
// have reached the cache.
// clang-format off
TracePoint componentwise(const TracePoint& p)         { return {p.x, p.y, p.z}; }
Vector componentwise(const Vector& v)                 { return {v.x, v.y, v.z}; }
Color componentwise(const Color& c)                   { return {c.r, c.g, c.b}; }
Matrix componentwise(const Matrix& m)                 { return {componentwise(m.columns[0]), componentwise(m.columns[1]), componentwise(m.columns[2])}; }
TraceTransform componentwise(const TraceTransform& t) { return {componentwise(t.matrix), componentwise(t.offset)}; }
// clang-format on

template <typename Member, typename From>
void construct(Member& member, From&& from) noexcept
{
    std::construct_at(&member, std::forward<From>(from));
}

} // namespace

Value::Value(const CharString& value) noexcept : tag(ValueType::String)
{
    construct(text, value);
    construct(scenePath, CharString());
}

Value::Value(const PtrArray<CharString>& value) noexcept : tag(ValueType::ListString)
{
    construct(listString, value);
    construct(scenePath, CharString());
}

Value::Value(const RuntimeValue& value) noexcept : tag(ValueType::RuntimeValue)
{
    object = value.object;
    construct(runtimeName, value.name);
}

Value::Value(const PtrArray<Value>& value) noexcept : tag(ValueType::List), list(value) {}
Value::Value(const PtrArray<Vector>& value) noexcept : tag(ValueType::ListVector), listVector(value) {}
Value::Value(const PtrArray<int>& value) noexcept : tag(ValueType::ListInt), listInt(value) {}
Value::Value(const PtrArray<float>& value) noexcept : tag(ValueType::ListFloat), listFloat(value) {}
Value::Value(const PtrArray<Color>& value) noexcept : tag(ValueType::ListColor), listColor(value) {}

// The other value may live in this one's own list, so it is copied before that is given up.
Value& Value::operator=(const Value& other) noexcept
{
    return *this = Value(other);
}

Value& Value::operator=(Value&& other) noexcept
{
    if (ownsStorage() || other.ownsStorage()) {
        Value given(std::move(other));
        releaseStorage();
        take(std::move(given));
    } else if (this != &other) {
        take(other);
    }
    return *this;
}

void Value::take(const Value& other) noexcept
{
    takeMembers(other);
}

void Value::take(Value&& other) noexcept
{
    takeMembers(std::move(other));
}

// Of a member reached through a moved value, forward makes a moved member.
template <typename Other>
void Value::takeMembers(Other&& other) noexcept
{
    tag = other.tag;
    // clang-format off
    switch (tag) {
    case ValueType::Undefined:    break;
    case ValueType::Double:       number = other.number; break;
    case ValueType::Vector:       construct(point, componentwise(other.point)); break;
    case ValueType::Matrix:       construct(matrix, componentwise(other.matrix)); break;
    case ValueType::Color:        construct(color, componentwise(other.color)); break;
    case ValueType::AColor:       construct(acolor, other.acolor); break;
    case ValueType::Transform:    construct(transform, componentwise(other.transform)); break;
    case ValueType::List:         construct(list, std::forward<Other>(other).list); break;
    case ValueType::ListVector:   construct(listVector, std::forward<Other>(other).listVector); break;
    case ValueType::ListInt:      construct(listInt, std::forward<Other>(other).listInt); break;
    case ValueType::ListColor:    construct(listColor, std::forward<Other>(other).listColor); break;
    case ValueType::ListFloat:    construct(listFloat, std::forward<Other>(other).listFloat); break;
    case ValueType::String:       construct(text, std::forward<Other>(other).text);
                                  construct(scenePath, std::forward<Other>(other).scenePath); break;
    case ValueType::ListString:   construct(listString, std::forward<Other>(other).listString);
                                  construct(scenePath, std::forward<Other>(other).scenePath); break;
    case ValueType::Object:       object = other.object; break;
    case ValueType::ObjectID:     construct(objectID, other.objectID); break;
    case ValueType::RuntimeValue: object = other.object;
                                  construct(runtimeName, std::forward<Other>(other).runtimeName); break;
    }
    // clang-format on
}

void Value::releaseStorage() noexcept
{
    // clang-format off
    switch (tag) {
    case ValueType::List:         list.freeMem(); break;
    case ValueType::ListVector:   listVector.freeMem(); break;
    case ValueType::ListInt:      listInt.freeMem(); break;
    case ValueType::ListColor:    listColor.freeMem(); break;
    case ValueType::ListFloat:    listFloat.freeMem(); break;
    case ValueType::String:       text.~CharString(); scenePath.~CharString(); break;
    case ValueType::ListString:   listString.freeMem(); scenePath.~CharString(); break;
    case ValueType::RuntimeValue: runtimeName.~CharString(); break;
    default: break;
    }
    // clang-format on
    tag = ValueType::Undefined;
}

Vector Value::getVector() const noexcept
{
    return tag == ValueType::Vector ? narrowed(point) : Vector();
}

PtrArray<Value> Value::getList() const noexcept
{
    return tag == ValueType::List ? list : PtrArray<Value>();
}

PtrArray<Vector> Value::getListVector() const noexcept
{
    return tag == ValueType::ListVector ? listVector : PtrArray<Vector>();
}

PtrArray<int> Value::getListInt() const noexcept
{
    return tag == ValueType::ListInt ? listInt : PtrArray<int>();
}

PtrArray<float> Value::getListFloat() const noexcept
{
    return tag == ValueType::ListFloat ? listFloat : PtrArray<float>();
}

PtrArray<Color> Value::getListColor() const noexcept
{
    return tag == ValueType::ListColor ? listColor : PtrArray<Color>();
}

PtrArray<CharString> Value::getListString() const noexcept
{
    return tag == ValueType::ListString ? listString : PtrArray<CharString>();
}

CharString Value::getString() const noexcept
{
    return tag == ValueType::String ? text : CharString();
}

CharString Value::getScenePath() const noexcept
{
    return tag == ValueType::String || tag == ValueType::ListString ? scenePath : CharString();
}

RuntimeValue Value::getRuntimeValue() const noexcept
{
    return tag == ValueType::RuntimeValue ? RuntimeValue{object, runtimeName} : RuntimeValue();
}

// clang-format off
void Value::setListVector(const PtrArray<Vector>& value) noexcept  { *this = Value(value); }
void Value::setListInt(const PtrArray<int>& value) noexcept        { *this = Value(value); }
void Value::setListFloat(const PtrArray<float>& value) noexcept    { *this = Value(value); }
void Value::setListColor(const PtrArray<Color>& value) noexcept    { *this = Value(value); }
// clang-format on

void Value::setListString(const PtrArray<CharString>& value) noexcept
{
    CharString path = tag == ValueType::ListString ? scenePath : CharString();
    *this = Value(value);
    scenePath = std::move(path);
}

void Value::setScenePath(const CharString& value) noexcept
{
    if (tag == ValueType::String || tag == ValueType::ListString)
        scenePath = value;
}

// Lists may nest as deeply as memory allows, so their release must not recurse: the lists
// inside a doomed one join a queue that is linked through the arrays themselves.
template <>
void PtrArray<Value>::destroy(ArrayControl* doomed) noexcept
{
    doomed->nextDoomed = nullptr;
    while (doomed) {
        ArrayControl* array = std::exchange(doomed, doomed->nextDoomed);
        for (Value& element : std::span(elementsOf(array), static_cast<std::size_t>(array->count))) {
            if (element.tag != ValueType::List) {
                element.release();
                continue;
            }
            ArrayControl* inner = element.list.shared;
            if (inner && dropReference(inner->refCount)) {
                inner->nextDoomed = doomed;
                doomed = inner;
            }
        }
        ::operator delete(array);
    }
}

} // namespace Marl
