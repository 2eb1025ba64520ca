// Sources that end early, land elsewhere, report errors or throw, seen through evaluations of
// everything that reads them.
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <functional>
#include <latch>
#include <string>
#include <thread>
#include <utility>

namespace Marl::Tests {
namespace {

// A fake stream with two more faults, each of them once.
class FaultyStream final : public SourceStream {
public:
    explicit FaultyStream(std::string text) : fake(std::move(text)) {}

    std::int64_t tell() override { return fake.tell(); }
    void seek(std::int64_t target) override { fake.seek(target - std::exchange(stopsShortBy, 0)); }
    void read(char* buffer, int size, int* status) override
    {
        if (const auto wait = std::exchange(waits, nullptr))
            wait();
        fake.read(buffer, size, status);
    }

    FakeStream fake;
    std::int64_t stopsShortBy = 0; // where the next seek lands before its target
    std::function<void()> waits;   // what the next read does first
};

// A text that begins at byte 100, and what reads it.
struct Source {
    explicit Source(const std::string& given)
        : stream(std::string(100, '?') + given + "?"), length(static_cast<int>(given.size()))
    {
        stream.fake.position = 7;
    }

    // True when nobody holds the mutex and the stream stands where it stood.
    bool isAtRest()
    {
        if (pthread_mutex_trylock(&owner.sourceMutex) != 0)
            return false;
        pthread_mutex_unlock(&owner.sourceMutex);
        return stream.fake.position == 7 && stream.fake.outOfTurn == 0;
    }

    Tree t;
    SourceOwner owner;
    FaultyStream stream;
    int length;
};

template <typename Node>
ExpressionAST* whole(Source& source)
{
    Node* node = placed(source.t.program.make<Node>(), source.owner, source.stream.fake, 100, source.length);
    node->stream = &source.stream;
    return node;
}

template <typename T, int index>
ExpressionAST* element(Source& source)
{
    return source.t.element(whole<ListTypeExpressionAST<T>>(source), {index});
}

const std::string digits = "3f800000" + std::string(112, '0');
const char* const transform = "xform(1 0 0, 0 0 0, 0 0 0, 0 0 0)";

// What a text comes to, and what so many of its bytes come to, the others being NUL.
const struct Reader {
    const char* name;
    ExpressionAST* (*made)(Source&);
    std::string text;
    std::string result;
    int cut;
    std::string ofCut;
} readers[] = {
    // clang-format off
    {"text",              whole<StringExpressionAST>,               "lamp",         R"("lamp")",              2,  R"("la")"},
    {"text of no bytes",  whole<StringExpressionAST>,               "lamp",         R"("lamp")",              0,  R"("")"},
    {"texts",             whole<ListTypeExpressionAST<CharString>>, "'one', 'two'", R"(string["one", "two"])", 9, "fails: Expected the end of the text at byte 108 of the source."},
    {"vectors",           whole<ListTypeExpressionAST<Vector>>,     "1 2 3, 4 5 6", "vec[1 2 3, 4 5 6]",      7,  "fails: Expected a number at byte 107 of the source."},
    {"colors",            whole<ListTypeExpressionAST<Color>>,      "1 2 3",        "rgb[1 2 3]",             4,  "fails: Expected a number at byte 104 of the source."},
    {"floats",            whole<ListTypeExpressionAST<float>>,      "1 2.5",        "float[1 2.5]",           3,  "fails: Expected a number at byte 102 of the source."},
    {"ints",              whole<ListTypeExpressionAST<int>>,        "1 23",         "int[1 23]",              3,  "fails: Expected an integer at byte 102 of the source."},
    {"ints of no bytes",  whole<ListTypeExpressionAST<int>>,        "1 23",         "int[1 23]",              0,  "fails: Expected an integer at byte 100 of the source."},
    {"ints, a comment",   whole<ListTypeExpressionAST<int>>,        "1 // c\n23",  "int[1 23]",              5,  "fails: Expected an integer at byte 105 of the source."},
    {"transform",         whole<TransformHexExpressionAST>,         digits,         transform,                60, "fails: Expected 120 hexadecimal digits at byte 160 of the source."},
    {"element of texts",  element<CharString, 0>,                   "'one', 'two'", R"("one")",               9,  "fails: Expected the end of the text at byte 108 of the source."},
    {"element of vectors", element<Vector, 1>,                      "1 2 3, 4 5 6", "vec(4 5 6)",             7,  "fails: Expected a number at byte 107 of the source."},
    {"element of colors", element<Color, 0>,                        "1 2 3",        "rgb(1 2 3)",             4,  "fails: Expected a number at byte 104 of the source."},
    {"element of floats", element<float, 0>,                        "1 2.5",        "1",                      3,  "fails: Expected a number at byte 102 of the source."},
    {"element of ints",   element<int, 1>,                          "1 23",         "23",                     3,  "fails: Expected an integer at byte 102 of the source."},
    // clang-format on
};

bool isText(ExpressionAST* node)
{
    return dynamic_cast<StringExpressionAST*>(node) != nullptr;
}

// A text that ends early is a shorter text and stays one. Data that end early are none, and
// what was read of them is not kept.
TEST(Streams, ThatEndEarlyGiveNoHalfOfData)
{
    for (const Reader& reader : readers)
        for (const int status : {0, 5}) { // nobody looks at it
            Source source(reader.text);
            ExpressionAST* node = reader.made(source);
            source.stream.fake.givesAtMost = reader.cut;
            source.stream.fake.reports = status;
            EXPECT_EQ(resultOf(node), reader.ofCut) << reader.name;
            EXPECT_TRUE(source.isAtRest()) << reader.name;
            source.stream.fake.givesAtMost = INT_MAX;
            EXPECT_EQ(resultOf(node), isText(node) ? reader.ofCut : reader.result) << reader.name;
        }
}

TEST(Streams, ThatLandElsewhereGiveWhatStandsThere)
{
    for (const Reader& reader : readers) {
        Source source(reader.text);
        ExpressionAST* node = reader.made(source);
        source.stream.stopsShortBy = 2;
        const std::string result = resultOf(node);
        EXPECT_TRUE(isText(node) ? result == "\"??la\"" : result.ends_with(" at byte 100 of the source."))
            << reader.name << " comes to " << result;
        EXPECT_TRUE(source.isAtRest()) << reader.name;
    }
}

TEST(Streams, ThatThrowAreAskedAgain)
{
    for (const Reader& reader : readers)
        for (const char* place : {"tell", "seek", "read", "seek back"}) {
            Source source(reader.text);
            ExpressionAST* node = reader.made(source);
            source.stream.fake.throwsAt = place;
            CalculationVisitor evaluator;
            EXPECT_THROW(node->accept(&evaluator), StreamBroke) << reader.name << ", " << place;
            EXPECT_EQ(shown(evaluator.getResult()), "undefined") << reader.name << ", " << place;
            EXPECT_TRUE(source.isAtRest()) << reader.name << ", " << place;
            node->accept(&evaluator);
            EXPECT_EQ(shown(evaluator.getResult()), reader.result) << reader.name << ", " << place;
            EXPECT_TRUE(source.isAtRest()) << reader.name << ", " << place;
        }
}

// One evaluator is in the middle of its read, which is going to throw, while the other waits for the source.
TEST(Streams, ThatThrowLetTheNextEvaluatorIn)
{
    for (const Reader& reader : readers) {
        Source source(reader.text);
        ExpressionAST* first = reader.made(source);
        ExpressionAST* second = reader.made(source);
        std::latch isReading(1), isWaiting(1);
        source.stream.waits = [&] {
            isReading.count_down();
            isWaiting.wait();
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        };
        source.stream.fake.throwsAt = "read";
        std::string result;
        {
            const std::jthread other([&] {
                isReading.wait();
                isWaiting.count_down();
                result = resultOf(second);
            });
            EXPECT_THROW(evaluated(first), StreamBroke) << reader.name;
        }
        EXPECT_EQ(result, reader.result);
        EXPECT_EQ(resultOf(first), reader.result);
        EXPECT_TRUE(source.isAtRest()) << reader.name;
    }
}

} // namespace
} // namespace Marl::Tests
