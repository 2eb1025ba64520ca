// What stays in the source until it is asked for: texts, and the data that no scene of one line can
// write down. The other data are in tests/bits/table.txt, sources that fail in tests/faults.
#include <tests/support/fake_stream.h>
#include <tests/support/tree.h>

#include <marl/compiled/batch_evaluator.h>

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <exception>
#include <functional>

namespace Marl::Tests {
namespace {

TEST(Text, IsReadOnceAndEndsWhereItsBytesDo)
{
    SourceOwner owner;
    const struct {
        SourceOwner* owner;
        const char* before;
        int offset, length;
        const char* after;
        int reads;
    } rows[] = {
        // clang-format off
        {&owner,  nullptr,   8,  4, "lamp",  1},
        {&owner,  "old",     8,  4, "lamp",  1},
        {&owner,  nullptr,  15,  3, "a",     1}, // a NUL ends it
        {&owner,  nullptr,  17,  9, "b",     1}, // the end of the source does
        {&owner,  "abc",     8,  0, nullptr, 0},
        {&owner,  "abc",     8, -1, nullptr, 0},
        {nullptr, "abcdef",  8,  3, "abc",   0}, // with nobody to read from it keeps what it had
        {nullptr, "abc",     8,  6, "abc",   0},
        {nullptr, nullptr,   8,  3, "",      0},
        {nullptr, "abc",     8,  0, nullptr, 0},
        // clang-format on
    };
    for (const auto& row : rows) {
        FakeStream stream(std::string("name = \"lamp\"; a\0b", 18));
        stream.position = 3;
        StringExpressionAST node;
        placed(&node, owner, stream, row.offset, row.length)->owner = row.owner;
        node.text = row.before;
        const CharString sharer = node.text;
        node.load();
        EXPECT_STREQ(node.text, row.after);
        EXPECT_STREQ(sharer, row.before);
        EXPECT_NE(node.loaded, 0);
        node.load();
        EXPECT_EQ(stream.reads(), row.reads);
        EXPECT_EQ(stream.position, 3);
    }
}

TEST(Text, OfMoreBytesThanAStringTakesFailsAndIsAskedForAgain)
{
    SourceOwner owner;
    for (SourceOwner* given : {&owner, static_cast<SourceOwner*>(nullptr)}) {
        FakeStream stream("lamp");
        StringExpressionAST node;
        placed(&node, owner, stream, 0, INT_MAX)->owner = given;
        node.text = "old";
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(resultOf(&node), "fails: Text is longer than 2147483646 bytes.");
        EXPECT_STREQ(node.text, "old");
        EXPECT_EQ(stream.reads(), 0);
        node.length = 4;
        EXPECT_EQ(resultOf(&node), given ? "\"lamp\"" : "\"old\"");
    }
}

// What the node comes to whose text begins at byte 100 of the source.
template <typename Node>
std::string readAs(const std::string& text)
{
    SourceOwner owner;
    FakeStream stream(std::string(100, '?') + text + "?");
    Node node;
    return resultOf(placed(&node, owner, stream, 100, static_cast<int>(text.size())));
}

TEST(SourceData, CrossLinesAndSayWhereTheyAreWrong)
{
    using Floats = ListTypeExpressionAST<float>;
    using Texts = ListTypeExpressionAST<CharString>;
    using Digits = TransformHexExpressionAST;
    using namespace std::string_literals;
    const std::string one = "3f800000", zeros(104, '0');
    const struct {
        std::string (*read)(const std::string&);
        std::string text, result;
    } rows[] = {
        // clang-format off
        {readAs<Floats>, "\n1\t-2.5\r\n .5\v\f",             "float[1 -2.5 0.5]"},
        {readAs<Floats>, "1 // one\n/* and\n*/2 /**/ // end", "float[1 2]"},
        {readAs<Floats>, "1 // one\n2 x",                    "fails: Expected a number at byte 111 of the source."},
        {readAs<Floats>, "1 /* 2",                           "fails: Expected the end of the comment at byte 102 of the source."},
        {readAs<Floats>, "1\0 2"s,                           "fails: Expected no NUL outside texts at byte 101 of the source."},
        {readAs<Floats>, "1 // a\0\n2"s,                     "fails: Expected no NUL outside texts at byte 106 of the source."},
        {readAs<Texts>,  "'a', /*\0*/ 'b'"s,                 "fails: Expected no NUL outside texts at byte 107 of the source."},
        {readAs<Texts>,  "'a\0b', \"//\0\""s,               "string[\"a\", \"//\"]"},
        {readAs<Texts>,  "'one',\n\"\"\"th\"r\nee\"\"\",\n", "string[\"one\", \"th\"r\nee\"]"},
        {readAs<Texts>,  "'a', \"b",                         "fails: Expected the end of the text at byte 106 of the source."},
        {readAs<Texts>,  "'a\nb'",                           "fails: Expected a text that ends on its line at byte 101 of the source."},
        {readAs<Digits>, one + "\t0000000\r\n0" + zeros,     "xform(1 0 0, 0 0 0, 0 0 0, 0 0 0)"},
        {readAs<Digits>, one + "0000000g" + zeros,           "fails: Expected 120 hexadecimal digits at byte 115 of the source."},
        {readAs<Digits>, "0x" + one + "00000000" + zeros,    "fails: Expected 120 hexadecimal digits at byte 101 of the source."},
        // clang-format on
    };
    for (const auto& [read, text, result] : rows)
        EXPECT_EQ(read(text), result) << text;

    ListTypeExpressionAST<int> withoutOwner;
    withoutOwner.length = 3;
    EXPECT_EQ(resultOf(&withoutOwner), "int[]");
}

TEST(SourceData, HasTheByteInTheFailure)
{
    SourceOwner owner;
    FakeStream stream("float[1 x]");
    ListTypeExpressionAST<float> wrong, withoutStream;
    placed(&wrong, owner, stream, 6, 3);
    placed(&withoutStream, owner, stream, 6, 3)->stream = nullptr;
    ExpressionAST* expressions[] = {&wrong};
    const CompiledExpressions compiled(expressions);
    BatchEvaluator batch(compiled);
    batch.evaluate(std::array{1.0, 2.0});
    const struct {
        const char* name;
        std::function<void()> read;
        std::int64_t byte;
    } rows[] = {
        {"read", [&] { wrong.readFromSource(); }, 8},
        {"walked", [&] { evaluated(&wrong); }, 8},
        {"compiled", [&] { batch.column(0).valueAt(1); }, 8},
        {"of no byte", [&] { evaluated(&withoutStream); }, -1},
    };
    for (const auto& row : rows) {
        std::exception_ptr thrown;
        try {
            row.read();
        } catch (const InvalidOpException& failure) {
            thrown = std::make_exception_ptr(InvalidOpException(failure)); // as hosts keep it for later
        }
        try {
            std::rethrow_exception(thrown);
        } catch (const Exception& failure) {
            EXPECT_EQ(failure.byte(), row.byte) << row.name << ": " << failure.what();
        }
    }
}

} // namespace
} // namespace Marl::Tests
