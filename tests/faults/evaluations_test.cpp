// Evaluations that are stopped, by memory that runs out or by a source that fails, and repeated.
#include <tests/faults/failing_memory.h>
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <algorithm>
#include <climits>
#include <deque>
#include <exception>
#include <string>
#include <vector>

namespace Marl::Tests {
namespace {

// An expression, what it comes to at time 1, and which operands may lie on the evaluator's stack
// when it was stopped: whole ones.
struct Evaluation {
    const char* name;
    ExpressionAST* expression;
    std::string result;
    std::vector<std::string> operands;

    bool mayLeave(const std::string& top) const
    {
        return top == "undefined" || std::ranges::count(operands, top) == 1;
    }
};

struct Evaluations {
    // Every source lacks that many bytes at its end.
    explicit Evaluations(int lacking = 0);

    Tree t;
    SourceOwner owner;
    std::deque<FakeStream> streams;
    int missing;
    std::vector<Evaluation> rows;

    template <typename Node>
    Node* unread(const std::string& text, const char* scenePath = nullptr)
    {
        const int length = static_cast<int>(text.size());
        FakeStream& stream = streams.emplace_back("???" + text);
        stream.position = 1;
        stream.givesAtMost = missing > 0 ? std::max(length - missing, 0) : INT_MAX;
        stream.reports = missing; // nobody looks at it
        Node* node = placed(t.program.make<Node>(), owner, stream, 3, length);
        if constexpr (requires { node->scenePath; })
            node->scenePath = scenePath;
        return node;
    }

    // More levels than a first chunk of the evaluator's stacks has room for.
    static ExpressionAST* wrapped(ExpressionAST* node, const auto& around)
    {
        for (int i = 0; i < 40; ++i)
            node = around(node);
        return node;
    }

    // Nobody holds the mutex, and the streams stand where they stood.
    bool areAtRest()
    {
        if (pthread_mutex_trylock(&owner.sourceMutex) != 0)
            return false;
        pthread_mutex_unlock(&owner.sourceMutex);
        return std::ranges::all_of(streams, [](auto& s) { return s.position == 1 && s.outOfTurn == 0; });
    }

    int reads() const
    {
        int all = 0;
        for (const FakeStream& stream : streams)
            all += stream.reads();
        return all;
    }
};

Evaluations::Evaluations(int lacking) : missing(lacking)
{
    using Text = StringExpressionAST;
    using Texts = ListTypeExpressionAST<CharString>;
    using Vectors = ListTypeExpressionAST<Vector>;
    using Colors = ListTypeExpressionAST<Color>;
    using Floats = ListTypeExpressionAST<float>;
    using Ints = ListTypeExpressionAST<int>;
    using Digits = TransformHexExpressionAST;
    const std::string digits = "3f800000" + std::string(112, '0');
    const std::string transform = "xform(1 0 0, 0 0 0, 0 0 0, 0 0 0)";
    const std::string text = R"("text" in "a.scene")", vec = "vec(1 2 3)";
    const auto sample = [&](char letter) { return t.node(sampleOf(letter)); };
    const auto blend = [&](const Operand& from, const Operand& to) { return t.keys({{0, from}, {2, to}}); };
    const auto indexOf = [&](const char* index) { return t.element(unread<Ints>(index), {0}); };
    auto* unowned = t.program.make<Text>();
    unowned->text = "unowned";
    unowned->length = 2;
    const char* const lamp = "the lamp behind the curtain";
    t.program.addObject(lamp)->addProperty("power", t.node(2.0));
    const auto ofLamp = [&](const char* property) { return t.reference(lamp, property); };
    // clang-format off
    rows = {
        {"text",              sample('s'),                                  text, {}},
        {"texts",             sample('S'),                                  R"(string["one", "two"] in "b.scene")", {}},
        {"text of nobody",    unowned,                                      R"("un")", {}},
        {"unread text",       unread<Text>("lamp", "c.scene"),              R"("lamp" in "c.scene")", {}},
        {"unread texts",      unread<Texts>("'a', 'b'", "c.scene"),         R"(string["a", "b"] in "c.scene")", {}},
        {"unread vectors",    unread<Vectors>("1 2 3, 4 5 6"),              "vec[1 2 3, 4 5 6]", {}},
        {"unread colors",     unread<Colors>("1 2 3, 4 5 6"),               "rgb[1 2 3, 4 5 6]", {}},
        {"unread floats",     unread<Floats>("1 2.5"),                      "float[1 2.5]", {}},
        {"unread ints",       unread<Ints>("1 // 2"),                       "int[1]", {}},
        {"unread transform",  unread<Digits>(digits),                       transform, {}},
        {"unreadable",        unread<Ints>("1 x"),                          "fails: Expected an integer at byte 5 of the source.", {}},
        {"element of texts",  t.element(unread<Texts>("'a', 'b'", "c.scene"), {1}), R"("b" in "c.scene")", {}},
        {"of vectors",        t.element(unread<Vectors>("1 2 3"), {0, 2}),  "3", {}},
        {"of colors",         t.element(unread<Colors>("1 2 3"), {0, 2}),   "3", {}},
        {"of floats",         t.element(unread<Floats>("1 2.5"), {1}),      "2.5", {}},
        {"of ints by ints",   t.element(unread<Ints>("1 2"), {indexOf("1 0")}), "2", {}},
        {"of none",           t.element(unread<Ints>("1 2"), {2}),          "fails: Array index is out of range.", {}},
        {"list",              t.list({1.0, sample('s'), t.list({sample('s')})}), "[1, " + text + ", [" + text + "]]", {}},
        {"lists joined",      t.sum(sample('L'), t.list({2.0})),            "[1, rgb(1 0 0), 2]", {"[1, rgb(1 0 0)]"}},
        {"list and text",     t.sum(t.list({}), sample('s')),               "[" + text + "]", {"[]"}},
        {"vectors joined",    t.sum(sample('v'), sample('v')),              "vec[1 2 3, 4 5 6, 1 2 3, 4 5 6]", {}},
        {"colors joined",     t.sum(sample('c'), unread<Colors>("1 2 3")),  "rgb[1 0 0, 1 2 3]", {"rgb[1 0 0]"}},
        {"floats joined",     t.sum(sample('f'), unread<Floats>("1")),      "float[0.5 0.25 1]", {"float[0.5 0.25]"}},
        {"ints joined",       t.sum(sample('i'), unread<Ints>("1")),        "int[1 -2 1]", {"int[1 -2]"}},
        {"not to be added",   t.sum(1.0, sample('s')),                      "fails: Unable to sum.", {"1"}},
        {"blended vectors",   blend(sample('v'), unread<Vectors>("3 2 1, 6 5 4")), "vec[2 2 2, 5 5 5]", {}},
        {"blended transforms", blend(unread<Digits>(digits), unread<Digits>(digits)), transform, {}},
        {"held text",         blend(sample('s'), 5.0),                      text, {}},
        {"unresolved times",  t.keys({{indexOf("0 2"), sample('s')}, {indexOf("2 0"), 1.0}}), text, {}},
        {"sorted keys",       t.keys({{3, 30}, {ofLamp("power"), 20}, {0, 10}}), "15", {}},
        {"missing property",  ofLamp("brightness"),                         std::string("fails: Could not find brightness property of object ") + lamp, {}},
        {"deep stack",        wrapped(t.vec(1, 2, 3), [&](auto* node) { return t.product(1.0, node); }), vec, {"1"}},
        {"deep held values",  wrapped(t.vec(1, 2, 3), [&](auto* node) { return blend(t.vec(1, 2, 3), node); }), vec, {vec}},
    };
    // clang-format on
}

// Resolves and evaluates. Only a failure that says what is wrong with the expression comes back.
std::exception_ptr attempt(Evaluations& scene, const Evaluation& row, CalculationVisitor& evaluator)
{
    DecorationVisitor pass;
    pass.setProgram(&scene.t.program);
    evaluator.setTimeParam(1);
    try {
        row.expression->accept(&pass);
        row.expression->accept(&evaluator);
    } catch (const Exception&) {
        return std::current_exception();
    }
    return nullptr;
}

std::string resultOf(const CalculationVisitor& evaluator, const std::exception_ptr& failure)
{
    if (failure)
        return "fails: " + messageOf<Exception>([&] { std::rethrow_exception(failure); });
    return shown(evaluator.getResult());
}

// Calls with the index of every evaluation.
void forEveryEvaluation(const std::invocable<std::size_t> auto& action)
{
    for (std::size_t i = 0, count = Evaluations().rows.size(); i < count; ++i) {
        SCOPED_TRACE(Evaluations().rows[i].name); // whose own memory is no leak of the action
        action(i);
    }
}

TEST(OutOfMemory, StopsAnEvaluationThatCanBeRepeated)
{
    forEveryEvaluation([](std::size_t i) {
        const int failing = atEveryAllocation([i](const Shortage& shortage) {
            Evaluations scene;
            const Evaluation& row = scene.rows[i];
            CalculationVisitor evaluator;
            std::exception_ptr failure;
            const Outcome outcome = during(shortage, [&] { failure = attempt(scene, row, evaluator); });
            if (outcome == Outcome::Stopped)
                EXPECT_TRUE(row.mayLeave(shown(evaluator.getResult()))) << shown(evaluator.getResult());
            else
                EXPECT_EQ(resultOf(evaluator, failure), row.result);
            EXPECT_TRUE(scene.areAtRest());
            EXPECT_EQ(resultOf(evaluator, attempt(scene, row, evaluator)), row.result);
            return outcome;
        });
        EXPECT_GT(failing, 0);
    });
}

TEST(Streams, ThatThrowAreAskedAgain)
{
    int broke = 0;
    forEveryEvaluation([&](std::size_t i) {
        for (const char* place : {"tell", "seek", "read", "seek back"}) {
            Evaluations scene;
            const Evaluation& row = scene.rows[i];
            SCOPED_TRACE(place);
            for (FakeStream& stream : scene.streams)
                stream.throwsAt = place;
            CalculationVisitor evaluator;
            for (bool isDone = false; !isDone;) {
                try {
                    EXPECT_EQ(resultOf(evaluator, attempt(scene, row, evaluator)), row.result);
                    isDone = true;
                } catch (const StreamBroke&) {
                    ++broke;
                    EXPECT_TRUE(row.mayLeave(shown(evaluator.getResult()))) << shown(evaluator.getResult());
                }
                EXPECT_TRUE(scene.areAtRest());
            }
        }
    });
    EXPECT_GT(broke, 0);
}

// A text that ends early is a shorter text and stays one. Data that end early are none, and
// what was read of them is not kept.
TEST(Streams, ThatEndEarlyGiveNoHalfOfData)
{
    forEveryEvaluation([](std::size_t i) {
        for (const int missing : {1, 2, 3, 120}) {
            Evaluations scene(missing);
            const Evaluation& row = scene.rows[i];
            SCOPED_TRACE(missing);
            CalculationVisitor evaluator;
            const std::string early = resultOf(evaluator, attempt(scene, row, evaluator));
            for (FakeStream& stream : scene.streams)
                stream.givesAtMost = INT_MAX;
            const std::string late = resultOf(evaluator, attempt(scene, row, evaluator));
            if (dynamic_cast<StringExpressionAST*>(row.expression) && scene.reads() > 0) {
                EXPECT_EQ(early,
                          "\"" + std::string("lamp").substr(0, 4 - std::min(missing, 4)) + "\" in \"c.scene\"");
                EXPECT_EQ(late, early);
            } else {
                EXPECT_TRUE(scene.reads() == 0 ? early == row.result : early.starts_with("fails: Expected "))
                    << early;
                EXPECT_EQ(late, row.result);
            }
            EXPECT_TRUE(scene.areAtRest());
        }
    });
}

} // namespace
} // namespace Marl::Tests
