// The tagged value: getters and setters of all seventeen kinds, sharing and release.
#include <tests/support/shown.h>

#include <marl/value/array_hold.h>

#include <gtest/gtest.h>

#include <string_view>
#include <type_traits>
#include <utility>

namespace Marl::Tests {
namespace {

// Hands over what a getter gives: by a setter, or where there is none as a new value.
template <auto get, auto set = nullptr>
void hand(const Value& from, Value& to)
{
    auto payload = (from.*get)();
    if constexpr (std::is_null_pointer_v<decltype(set)>)
        to = Value(payload);
    else
        (to.*set)(payload);
    if constexpr (requires { payload.freeMem(); })
        payload.freeMem();
}

// By kind: what its getter gives of any other kind, and how its payload comes from value to value.
// clang-format off
const struct {
    char letter;
    const char* zero;
    void (*hand)(const Value&, Value&);
} payloads[] = {
    {'N', "0",                                   hand<&Value::getDouble, &Value::setDouble>},
    {'L', "[]",                                  hand<&Value::getList>},
    {'V', "vec(0 0 0)",                          hand<&Value::getTracePoint, &Value::setVector>},
    {'M', "mat(0 0 0, 0 0 0, 0 0 0)",            hand<&Value::getMatrix, &Value::setMatrix>},
    {'C', "rgb(0 0 0)",                          hand<&Value::getColor, &Value::setColor>},
    {'A', "rgba(0 0 0 0)",                       hand<&Value::getAColor>},
    {'T', "xform(0 0 0, 0 0 0, 0 0 0, 0 0 0)",   hand<&Value::getTransform, &Value::setTransform>},
    {'v', "vec[]",                               hand<&Value::getListVector, &Value::setListVector>},
    {'i', "int[]",                               hand<&Value::getListInt, &Value::setListInt>},
    {'c', "rgb[]",                               hand<&Value::getListColor, &Value::setListColor>},
    {'f', "float[]",                             hand<&Value::getListFloat, &Value::setListFloat>},
    {'s', "null",                                hand<&Value::getString>},
    {'S', "string[]",                            hand<&Value::getListString, &Value::setListString>},
    {'o', "@nothing",                            hand<&Value::getObject>},
    {'d', "id(0)",                               hand<&Value::getObjectID>},
    {'r', "@nothing.null",                       hand<&Value::getRuntimeValue>},
};
// clang-format on

// Nothing is left of what the value was before.
void expectIsExactly(Value value, Value expected, const std::string& story)
{
    EXPECT_EQ(shown(value), shown(expected)) << story;
    EXPECT_EQ(value.getValueType(), static_cast<int>(expected.kind())) << story;
    const char letter = letterOf(expected);
    value.setScenePath("c.scene");
    EXPECT_EQ(value.getScenePath() == "c.scene", letter == 's' || letter == 'S') << story;
    expected.setScenePath(nullptr);
    for (const auto& [own, zero, hand] : payloads) {
        Value payload;
        hand(value, payload);
        EXPECT_EQ(shown(payload), own == letter ? shown(expected) : zero) << story << ", getter of " << own;
    }
}

TEST(Value, OfAnyKindReplacesAnyOtherWithoutARest)
{
    for (const char before : std::string_view(kindLetters)) {
        for (const char after : std::string_view(kindLetters)) {
            const std::string story = std::string("from ") + before + " to " + after;
            Value copied = sampleOf(before), moved = sampleOf(before), sample = sampleOf(after);
            copied = sample;
            moved = std::move(sample);
            expectIsExactly(copied, sampleOf(after), story + " copied");
            expectIsExactly(moved, sampleOf(after), story + " moved");
            expectIsExactly(Value(copied), sampleOf(after), story + " constructed");
        }
        for (const auto& [after, zero, hand] : payloads) {
            Value value = sampleOf(before), expected = sampleOf(after);
            hand(expected, value);
            if (before != 'S' || after != 'S') // only a list of texts keeps its path
                expected.setScenePath(nullptr);
            expectIsExactly(value, expected, std::string("from ") + before + " to " + after + " set");
        }
    }
    EXPECT_EQ(shown(listOf<CharString>({"one", "two"})), "string[\"one\", \"two\"]");
}

TEST(Value, MayBeAssignedFromItselfAndItsOwnList)
{
    for (const char letter : std::string_view(kindLetters)) {
        Value value = sampleOf(letter);
        Value& same = value;
        value = same;
        value = std::move(same);
        EXPECT_EQ(shown(value), shown(sampleOf(letter)));
    }
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
    const ArrayHold list(inner.getList());
    const int& count = list->shared->refCount;
    Value tower = listOf<Value>({inner, 1.0, listOf<Value>({inner, sampleOf('S')})});
    for (int i = 0; i < 1'000'000; ++i)
        tower = listOf<Value>({tower});
    Value sharer = tower;
    tower = 2.0;
    EXPECT_EQ(count, 4);
    sharer = 2.0;
    EXPECT_EQ(count, 2);
    EXPECT_EQ(shown(inner), "[float[0.5 0.25]]");
}

} // namespace
} // namespace Marl::Tests
