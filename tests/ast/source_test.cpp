// What stays in the source until it is asked for: texts, data lists, transforms in digits.
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <gtest/gtest.h>

#include <pthread.h>

namespace Marl::Tests {
namespace {

// True when nobody holds the mutex.
bool isFree(SourceOwner& owner)
{
    if (pthread_mutex_trylock(&owner.sourceMutex) != 0)
        return false;
    pthread_mutex_unlock(&owner.sourceMutex);
    return true;
}

class Text : public testing::Test {
protected:
    StringExpressionAST* textAt(std::int64_t offset, int length)
    {
        return placed(&node, owner, stream, offset, length);
    }

    SourceOwner owner;
    FakeStream stream{std::string("name = \"lamp\"; a\0b", 18)};
    StringExpressionAST node;
};

TEST_F(Text, IsReadOnceAndTheStreamLeftWhereItWas)
{
    stream.position = 3;
    textAt(8, 4)->load();
    EXPECT_STREQ(node.text, "lamp");
    EXPECT_NE(node.loaded, 0);
    stream.position = 5;
    node.load();
    EXPECT_EQ(stream.readsAt, (std::map<std::int64_t, int>{{8, 1}}));
    EXPECT_EQ(stream.position, 5);
    EXPECT_EQ(stream.outOfTurn, 0);
    EXPECT_TRUE(isFree(owner));
}

TEST_F(Text, WithNothingToReadKeepsWhatItHadUpToItsLength)
{
    const struct {
        SourceOwner* owner;
        const char* before;
        int length;
        const char* after;
    } rows[] = {{nullptr, "abcdef", 3, "abc"}, {nullptr, "abc", 6, "abc"},  {nullptr, nullptr, 3, ""},
                {nullptr, "abc", 0, nullptr},  {&owner, "abc", 0, nullptr}, {&owner, "abc", -1, nullptr}};
    for (const auto& row : rows) {
        StringExpressionAST text;
        text.owner = row.owner;
        text.stream = &stream;
        text.text = row.before;
        text.length = row.length;
        const CharString sharer = text.text;
        text.load();
        EXPECT_STREQ(text.text, row.after);
        EXPECT_STREQ(sharer, row.before);
        EXPECT_NE(text.loaded, 0);
    }
    EXPECT_EQ(stream.reads(), 0);
}

TEST_F(Text, ReadShortEndsWhereTheBytesEnd)
{
    stream.givesAtMost = 2;
    stream.reports = 5; // nobody looks at it
    textAt(8, 4)->load();
    EXPECT_STREQ(node.text, "la");
    EXPECT_NE(node.loaded, 0);

    StringExpressionAST withNul;
    placed(&withNul, owner, stream, 15, 3)->load();
    EXPECT_STREQ(withNul.text, "a");
}

TEST_F(Text, StaysUnreadWhenTheStreamThrows)
{
    textAt(8, 4);
    for (const char* place : {"tell", "seek", "read", "seek back"}) {
        node.text = "old";
        node.loaded = 0;
        stream.throwsAt = place;
        stream.position = 3;
        EXPECT_THROW(node.load(), StreamBroke) << place;
        EXPECT_EQ(node.loaded, 0) << place;
        EXPECT_STREQ(node.text, "old") << place;
        EXPECT_TRUE(isFree(owner)) << place;
        EXPECT_EQ(stream.position, 3) << place;
        node.load();
        EXPECT_STREQ(node.text, "lamp") << place;
        EXPECT_EQ(stream.outOfTurn, 0) << place;
    }
}

// The list that the text gives, or the message; the text begins at byte 100 of the source.
template <typename T>
std::string listOfText(const std::string& text)
{
    SourceOwner owner;
    const auto length = static_cast<int>(text.size());
    FakeStream stream(std::string(100, '?') + text + "?");
    stream.position = 7;
    ListTypeExpressionAST<T> node;
    placed(&node, owner, stream, 100, length);
    const std::string result = resultOf(&node);
    EXPECT_EQ(stream.position, 7) << text;
    EXPECT_TRUE(isFree(owner)) << text;
    return result;
}

// In a message, what was expected and at which byte of the text.
std::string expects(const std::string& what, int at)
{
    return "fails: Expected " + what + " at byte " + std::to_string(100 + at) + " of the source.";
}

struct ListRow {
    const char* text;
    std::string result;
};

template <typename T, std::size_t count>
void expectLists(const ListRow (&rows)[count])
{
    for (const ListRow& row : rows)
        EXPECT_EQ(listOfText<T>(row.text), row.result) << row.text;
}

TEST(DataLists, OfFloatsAreReadStraightToSingle)
{
    const std::string fitting = "a number that single precision can hold";
    expectLists<float>({
        {"", "float[]"},
        {" 1\t-2.5\r\n .5  3e2 4E-1 5e+0 ", "float[1 -2.5 0.5 300 0.4 5]"},
        {"1.00000005960464477539062500000001", "float[1.0000001]"}, // by way of double it would be 1
        {"inf -inf nan", "float[inf -inf nan]"},
        {"1e-60 -1e-60 1e-99999999999999999999", "float[0 -0 0]"},
        {"340282346638528859811704183484516925440", "float[3.4028235e+38]"},
        {"1 // one\n/* and */2 /**/ // end", "float[1 2]"},
        {"1 1e39", expects(fitting, 2)},
        {"-1e99999999999999999999", expects(fitting, 0)},
        {"1 2 x", expects("a number", 4)},
        {"1, 2", expects("a number", 1)},
        {"1.", expects("a number", 0)},
        {"+1", expects("a number", 0)},
    });
}

TEST(DataLists, OfIntegersTakeThirtyTwoBits)
{
    expectLists<int>({
        {"1 -2 007 2147483647 -2147483648", "int[1 -2 7 2147483647 -2147483648]"},
        {"1 2147483648", expects("an integer of 32 bits", 2)},
        {"-2147483649", expects("an integer of 32 bits", 0)},
        {"1.5", expects("an integer", 0)},
        {"1 -", expects("an integer", 2)},
    });
}

TEST(DataLists, OfVectorsAndColorsAreTriplesBetweenCommas)
{
    expectLists<Vector>({
        {"0 0 0, 1 0 2.5", "vec[0 0 0, 1 0 2.5]"},
        {"1 2 3,4 5 6 ,\n", "vec[1 2 3, 4 5 6]"},
        {"1 2", expects("a number", 3)},
        {"1 2 3 4 5 6", expects("a comma", 6)},
        {",", expects("a number", 0)},
    });
    expectLists<Color>({
        {"0.1 0 -1, 2 3 4", "rgb[0.1 0 -1, 2 3 4]"},
        {"1 0 0, red", expects("a number", 7)},
    });
}

TEST(DataLists, OfTextsStandInThreeKindsOfQuotes)
{
    expectLists<CharString>({
        {"\"one\", 'two', \"\"\"th\"r\nee\"\"\",", "string[\"one\", \"two\", \"th\"r\nee\"]"},
        {"\"\", '', \"\"\"\"\"\"", "string[\"\", \"\", \"\"]"},
        {"'a, // b', \"c\\n\"", "string[\"a, // b\", \"c\\n\"]"}, // no escapes
        {"'a' 'b'", expects("a comma", 4)},
        {"'a', b", expects("a text in quotes", 5)},
    });
    EXPECT_TRUE(listOfText<CharString>("'a', \"b").starts_with("fails: Expected the end of the text at byte "));
    EXPECT_TRUE(
        listOfText<CharString>("'a\nb'").starts_with("fails: Expected a text that ends on its line at byte "));
}

TEST(DataLists, AreEmptyWithoutOwnerAndSafeWhenTheStreamThrows)
{
    SourceOwner owner;
    FakeStream stream("1 2");
    ListTypeExpressionAST<int> node;
    node.length = 3;
    EXPECT_EQ(resultOf(&node), "int[]");
    placed(&node, owner, stream, 0, 3);
    for (const char* place : {"tell", "seek", "read", "seek back"}) {
        stream.throwsAt = place;
        EXPECT_THROW(node.readFromSource(), StreamBroke) << place;
        EXPECT_TRUE(isFree(owner)) << place;
        EXPECT_EQ(resultOf(&node), "int[1 2]") << place;
    }
    EXPECT_EQ(stream.outOfTurn, 0);
}

std::string transformOfDigits(const std::string& digits)
{
    SourceOwner owner;
    FakeStream stream(std::string(100, '?') + digits);
    TransformHexExpressionAST node;
    placed(&node, owner, stream, 100, static_cast<int>(digits.size()));
    return resultOf(&node);
}

TEST(TransformDigits, AreTheBitsOfNineFloatsAndThreeDoubles)
{
    const std::string spaced = " 3f800000 80000000 3dcccccd\nC0490fdb 00000001 7f800000\tff800000 7fc00000 41200000"
                               " 3fb999999999999a 8000000000000000 7fefffffffffffff\r\n";
    std::string all = spaced;
    std::erase_if(all, [](char c) { return c <= ' '; });
    const std::string transform =
        "xform(1 -0 0.1, -3.1415927 1e-45 inf, -inf nan 10, 0.1 -0 1.7976931348623157e+308)";
    EXPECT_EQ(transformOfDigits(all), transform);
    EXPECT_EQ(transformOfDigits(spaced), transform);

    const std::string digits = "120 hexadecimal digits";
    EXPECT_EQ(transformOfDigits(""), expects(digits, 0));
    EXPECT_EQ(transformOfDigits(all.substr(1)), expects(digits, 119));
    EXPECT_EQ(transformOfDigits(all.substr(0, 50) + "g" + all.substr(51)), expects(digits, 50));
    EXPECT_EQ(transformOfDigits("0x" + all), expects(digits, 1));
    EXPECT_EQ(transformOfDigits(all + " 0"), expects("the end after 120 hexadecimal digits", 121));
}

} // namespace
} // namespace Marl::Tests
