// The tagged value that every expression evaluates to.
//
// A value keeps a member for every kind side by side, so it is wide; but each member
// lives only while the value is of its kind, so a copy, a move or the end of a number
// touches the number alone. Copies are never deep: strings and arrays are shared by
// count. A setter changes the kind.
//
// Getters trust their caller. Asking a number for its matrix is no error; it gives the
// zero matrix, whatever the value held before.
//
// One value is used by one thread at a time; copies of it may go to others.
#pragma once

#include <marl/api.h>
#include <marl/value/char_string.h>
#include <marl/value/ptr_array.h>
#include <marl/value/records.h>

#include <memory>
#include <utility>

namespace Marl {

// The codes are part of the interface: they travel as plain ints through
// getValueType() and through the valueType of vector literals.
enum class ValueType : int {
    Undefined = 0,
    Double = 1,
    List = 2,
    Vector = 3,
    Matrix = 4,
    Color = 5,
    AColor = 6,
    Transform = 7,
    ListVector = 8,
    ListInt = 9,
    ListColor = 10,
    ListFloat = 11,
    // The kinds below only travel: no rule of evaluation looks at them.
    String = 12,
    ListString = 13,
    Object = 14,
    ObjectID = 15,
    RuntimeValue = 16,
};

class MARL_API Value {
public:
    Value() noexcept : tag(ValueType::Undefined) {}
    Value(double value) noexcept : tag(ValueType::Double), number(value) {}
    Value(const TracePoint& value) noexcept : tag(ValueType::Vector), point(value) {}
    Value(const Matrix& value) noexcept : tag(ValueType::Matrix), matrix(value) {}
    Value(const Color& value) noexcept : tag(ValueType::Color), color(value) {}
    Value(const AColor& value) noexcept : tag(ValueType::AColor), acolor(value) {}
    Value(const TraceTransform& value) noexcept : tag(ValueType::Transform), transform(value) {}

    // The value shares the text, with an empty scene path.
    Value(const CharString& value) noexcept;
    // The value borrows the object.
    Value(Object* value) noexcept : tag(ValueType::Object), object(value) {}
    Value(const ObjectID& value) noexcept : tag(ValueType::ObjectID), objectID(value) {}
    Value(const RuntimeValue& value) noexcept;

    // The value shares the elements and holds a reference of its own.
    Value(const PtrArray<Value>& value) noexcept;
    Value(const PtrArray<Vector>& value) noexcept;
    Value(const PtrArray<int>& value) noexcept;
    Value(const PtrArray<float>& value) noexcept;
    Value(const PtrArray<Color>& value) noexcept;
    Value(const PtrArray<CharString>& value) noexcept; // with an empty scene path

    Value(const Value& other) noexcept : tag(other.tag)
    {
        if (tag == ValueType::Double)
            number = other.number;
        else
            take(other);
    }
    // Leaves the other value of its kind with an empty payload.
    Value(Value&& other) noexcept : tag(other.tag)
    {
        if (tag == ValueType::Double)
            number = other.number;
        else
            take(std::move(other));
    }
    Value& operator=(const Value& other) noexcept;
    Value& operator=(Value&& other) noexcept;
    ~Value() { release(); }

    ValueType kind() const noexcept { return tag; }
    int getValueType() const noexcept { return static_cast<int>(tag); }

    double getDouble() const noexcept { return tag == ValueType::Double ? number : 0.0; }
    // Rounded to single precision; getTracePoint() gives the components as they were set.
    Vector getVector() const noexcept;
    TracePoint getTracePoint() const noexcept
    {
        return tag == ValueType::Vector ? TracePoint{point.x, point.y, point.z} : TracePoint();
    }
    Matrix getMatrix() const noexcept { return tag == ValueType::Matrix ? matrix : Matrix(); }
    Color getColor() const noexcept { return tag == ValueType::Color ? color : Color(); }
    AColor getAColor() const noexcept { return tag == ValueType::AColor ? acolor : AColor(); }
    TraceTransform getTransform() const noexcept
    {
        return tag == ValueType::Transform ? transform : TraceTransform();
    }

    // The array comes with a reference of its own, which an ArrayHold gives up.
    PtrArray<Value> getList() const noexcept;
    PtrArray<Vector> getListVector() const noexcept;
    PtrArray<int> getListInt() const noexcept;
    PtrArray<float> getListFloat() const noexcept;
    PtrArray<Color> getListColor() const noexcept;
    PtrArray<CharString> getListString() const noexcept;

    CharString getString() const noexcept;
    // Of a string or a list of strings: the scene file that the text stands in.
    CharString getScenePath() const noexcept;
    Object* getObject() const noexcept { return tag == ValueType::Object ? object : nullptr; }
    ObjectID getObjectID() const noexcept { return tag == ValueType::ObjectID ? objectID : ObjectID(); }
    RuntimeValue getRuntimeValue() const noexcept;

    void setDouble(double value) noexcept { set(ValueType::Double, number, value); }
    void setVector(const TracePoint& value) noexcept { set(ValueType::Vector, point, value); }
    void setMatrix(const Matrix& value) noexcept { set(ValueType::Matrix, matrix, value); }
    void setColor(const Color& value) noexcept { set(ValueType::Color, color, value); }
    void setTransform(const TraceTransform& value) noexcept { set(ValueType::Transform, transform, value); }
    void setListVector(const PtrArray<Vector>& value) noexcept;
    void setListInt(const PtrArray<int>& value) noexcept;
    void setListFloat(const PtrArray<float>& value) noexcept;
    void setListColor(const PtrArray<Color>& value) noexcept;
    // Keeps the scene path of a value that is a list of strings already; else it is empty.
    void setListString(const PtrArray<CharString>& value) noexcept;
    // Only strings and lists of strings have a scene path; of any other kind nothing changes.
    void setScenePath(const CharString& value) noexcept;

private:
    friend class PtrArray<Value>;

    static constexpr unsigned bit(ValueType type) noexcept { return 1u << static_cast<int>(type); }

    // Whether the value holds strings or arrays, that is, more than bytes.
    bool ownsStorage() const noexcept
    {
        constexpr unsigned owners = bit(ValueType::List) | bit(ValueType::ListVector) | bit(ValueType::ListInt)
            | bit(ValueType::ListColor) | bit(ValueType::ListFloat) | bit(ValueType::String)
            | bit(ValueType::ListString) | bit(ValueType::RuntimeValue);
        return (bit(tag) & owners) != 0;
    }

    void release() noexcept
    {
        if (ownsStorage())
            releaseStorage();
    }
    void releaseStorage() noexcept;

    // Given by value, for it may lie in what is released.
    template <typename Plain>
    void set(ValueType type, Plain& member, Plain value) noexcept
    {
        release();
        tag = type;
        std::construct_at(&member, value);
    }

    // Takes over kind and payload; this value must own nothing at that moment.
    void take(const Value& other) noexcept;
    void take(Value&& other) noexcept;
    template <typename Other>
    void takeMembers(Other&& other) noexcept;

    ValueType tag;

    // A union of one member each, so that none lives before its kind is chosen.
    // clang-format off
    union { double number; };
    union { TracePoint point; };
    union { Matrix matrix; };
    union { Color color; };
    union { AColor acolor; };
    union { TraceTransform transform; };
    union { CharString text; };
    union { Object* object; };            // of an object or a runtime value
    union { CharString runtimeName; };
    union { ObjectID objectID; };
    union { PtrArray<Value> list; };
    union { PtrArray<int> listInt; };
    union { PtrArray<float> listFloat; };
    union { PtrArray<Vector> listVector; };
    union { PtrArray<Color> listColor; };
    union { PtrArray<CharString> listString; };
    union { CharString scenePath; };      // of a string or a list of strings
    // clang-format on
};

template <>
MARL_API void PtrArray<Value>::destroy(ArrayControl* doomed) noexcept;

} // namespace Marl
