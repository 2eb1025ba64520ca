// The tagged value: kinds, getters and setters of all seventeen, sharing and release.
#include <tests/support/shown.h>

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

namespace Marl::Tests {
namespace {

template <typename T>
Value given(PtrArray<T> list)
{
    Value value;
    if constexpr (std::is_same_v<T, CharString>)
        value.setListString(list);
    else
        value = Value(list);
    list.freeMem();
    return value;
}

template <typename T>
void set(Value& value, PtrArray<T> list, void (Value::*setter)(const PtrArray<T>&) noexcept)
{
    (value.*setter)(list);
    list.freeMem();
}

// What each getter gives, as a value of its own kind; what it gives of any other kind; and the
// setter, if there is one, that takes what the getter gives.
// clang-format off
const struct {
    char letter;
    Value (*get)(const Value&);
    const char* zero;
    void (*set)(Value&, const Value&);
} payloads[] = {
    {'N', [](const Value& v) { return Value(v.getDouble()); },       "0",                [](Value& v, const Value& s) { v.setDouble(s.getDouble()); }},
    {'L', [](const Value& v) { return given(v.getList()); },         "[]",               nullptr},
    {'V', [](const Value& v) { return Value(v.getTracePoint()); },   "vec(0 0 0)",       [](Value& v, const Value& s) { v.setVector(s.getTracePoint()); }},
    {'M', [](const Value& v) { return Value(v.getMatrix()); },       "mat(0 0 0, 0 0 0, 0 0 0)", [](Value& v, const Value& s) { v.setMatrix(s.getMatrix()); }},
    {'C', [](const Value& v) { return Value(v.getColor()); },        "rgb(0 0 0)",       [](Value& v, const Value& s) { v.setColor(s.getColor()); }},
    {'A', [](const Value& v) { return Value(v.getAColor()); },       "rgba(0 0 0 0)",    nullptr},
    {'T', [](const Value& v) { return Value(v.getTransform()); },    "xform(0 0 0, 0 0 0, 0 0 0, 0 0 0)", [](Value& v, const Value& s) { v.setTransform(s.getTransform()); }},
    {'v', [](const Value& v) { return given(v.getListVector()); },   "vec[]",            [](Value& v, const Value& s) { set(v, s.getListVector(), &Value::setListVector); }},
    {'i', [](const Value& v) { return given(v.getListInt()); },      "int[]",            [](Value& v, const Value& s) { set(v, s.getListInt(), &Value::setListInt); }},
    {'c', [](const Value& v) { return given(v.getListColor()); },    "rgb[]",            [](Value& v, const Value& s) { set(v, s.getListColor(), &Value::setListColor); }},
    {'f', [](const Value& v) { return given(v.getListFloat()); },    "float[]",          [](Value& v, const Value& s) { set(v, s.getListFloat(), &Value::setListFloat); }},
    {'s', [](const Value& v) { return Value(v.getString()); },       "null",             nullptr},
    {'S', [](const Value& v) { return given(v.getListString()); },   "string[]",         nullptr},
    {'o', [](const Value& v) { return Value(v.getObject()); },       "@nothing",         nullptr},
    {'d', [](const Value& v) { return Value(v.getObjectID()); },     "id(0)",            nullptr},
    {'r', [](const Value& v) { return Value(v.getRuntimeValue()); }, "@nothing.null",    nullptr},
};
// clang-format on

// The sample's kind and payload, and nothing left of what was there before.
void expectIsExactly(const Value& value, char letter, const std::string& story)
{
    EXPECT_EQ(letterOf(value), letter) << story;
    const bool hasPath = letter == 's' || letter == 'S';
    EXPECT_EQ(value.getScenePath() == nullptr, !hasPath) << story;
    for (const auto& [own, get, zero, setter] : payloads) {
        Value sample = sampleOf(letter);
        sample.setScenePath(CharString());
        EXPECT_EQ(shown(get(value)), own == letter ? shown(sample) : zero) << story << ", getter of " << own;
    }
}

TEST(Value, OfAnyKindReplacesAnyOtherWithoutARest)
{
    for (const char before : std::string_view(kindLetters))
        for (const char after : std::string_view(kindLetters)) {
            const std::string story = std::string{before, ' ', '-', '>', ' ', after};
            Value copied = sampleOf(before), moved = sampleOf(before), sample = sampleOf(after);
            copied = sample;
            moved = std::move(sample);
            expectIsExactly(copied, after, story + " copied");
            expectIsExactly(moved, after, story + " moved");
            expectIsExactly(Value(copied), after, story + " constructed");
        }
    for (const char before : std::string_view(kindLetters))
        for (const auto& [after, get, zero, setter] : payloads)
            if (setter) {
                Value value = sampleOf(before);
                setter(value, sampleOf(after));
                expectIsExactly(value, after, std::string{before, ' ', 's', 'e', 't', ' ', after});
            }
}

TEST(Value, OnlyTextsHaveAScenePath)
{
    for (const char letter : std::string_view("-NLVMCATvicfodr")) {
        Value value = sampleOf(letter);
        value.setScenePath("a.scene");
        EXPECT_TRUE(value.getScenePath() == nullptr) << letter;
    }
    Value strings = sampleOf('S'), text = sampleOf('s');
    PtrArray<CharString> list = listOf<CharString>({"new"}).getListString();
    strings.setListString(list);
    text.setListString(list);
    list.freeMem();
    EXPECT_EQ(shown(strings), "string[\"new\"] in \"b.scene\"");
    EXPECT_EQ(shown(text), "string[\"new\"]");
}

TEST(Value, SharesItsListByCount)
{
    PtrArray<int> list;
    list.allocArray(1);
    const int& count = list.shared->refCount;
    Value first(list);
    EXPECT_EQ(count, 2);
    Value second = first;
    EXPECT_EQ(count, 3);
    const Value third = std::move(second);
    EXPECT_EQ(count, 3);
    second = third;
    EXPECT_EQ(count, 4);
    second.setListInt(list);
    EXPECT_EQ(count, 4);
    second.setDouble(1);
    EXPECT_EQ(count, 3);
    first = Value();
    EXPECT_EQ(count, 2);
    list.freeMem();
    EXPECT_EQ(shown(third), "int[0]");
}

TEST(Value, AssignedToItselfStaysAsItIs)
{
    for (const char letter : std::string_view(kindLetters)) {
        Value value = sampleOf(letter);
        Value& same = value;
        value = same;
        EXPECT_EQ(shown(value), shown(sampleOf(letter)));
        value = std::move(same);
        EXPECT_EQ(shown(value), shown(sampleOf(letter)));
    }
}

TEST(Value, MayBeAssignedFromItsOwnList)
{
    Value value = listOf<Value>({1.0, listOf<Value>({2.0, sampleOf('s')})});
    for (const char* expected : {"[2, \"text\" in \"a.scene\"]", "\"text\" in \"a.scene\""}) {
        PtrArray<Value> list = value.getList();
        const Value& inside = list.data[1];
        list.freeMem(); // now the value alone keeps the element alive
        value = inside;
        EXPECT_EQ(shown(value), expected);
    }
}

TEST(Value, ListsInListsAreReleasedWithoutRecursion)
{
    const Value inner = listOf<Value>({sampleOf('f')});
    PtrArray<Value> list = inner.getList();
    {
        Value tower = listOf<Value>({inner, 1.0, listOf<Value>({inner, sampleOf('S')})});
        EXPECT_EQ(list.shared->refCount, 4);
        for (int i = 0; i < 1'000'000; ++i)
            tower = listOf<Value>({tower});
        const Value sharer = tower;
        tower = 2.0;
        EXPECT_EQ(list.shared->refCount, 4);
    }
    EXPECT_EQ(list.shared->refCount, 2);
    EXPECT_EQ(shown(inner), "[float[0.5 0.25]]");
    list.freeMem();
}

} // namespace
} // namespace Marl::Tests
