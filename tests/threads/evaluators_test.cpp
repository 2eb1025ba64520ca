// Several evaluators over one tree, all of them meeting everything for the first time at once.
// The thread sanitizer watches these; the fake stream notices readers who cut in.
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <set>
#include <thread>
#include <typeindex>
#include <vector>

namespace Marl::Tests {
namespace {

constexpr int threads = 8;

// None of the threads starts before the last one is there.
void onAllThreads(const std::invocable<int> auto& action)
{
    std::barrier start(threads);
    std::vector<std::jthread> running;
    for (int i = 0; i < threads; ++i)
        running.emplace_back([&, i] {
            start.arrive_and_wait();
            action(i);
        });
}

// The first test of this program, for a process builds its noise tables once.
TEST(Evaluators, MeetTheFirstNoiseTogether)
{
    onAllThreads([](int) { EXPECT_EQ(CalculationVisitor().noise({1, 2, 3}), 0x1.b74ff2p-3f); });
}

// Every kind of node and every way in which evaluators share, nothing of it used yet. What is only
// indexed begins where its text does, what is evaluated as a whole at the blank before.
struct Scene {
    // clang-format off
    using Texts   = ListTypeExpressionAST<CharString>;
    using Vectors = ListTypeExpressionAST<Vector>;
    using Colors  = ListTypeExpressionAST<Color>;
    using Floats  = ListTypeExpressionAST<float>;
    using Ints    = ListTypeExpressionAST<int>;
    // clang-format on

    SourceOwner owner;
    FakeStream stream{"lamp 'a', 'b' 1 2 3, 4 5 6 7 8 9 3f800000" + std::string(112, '0')};
    Object rig{"rig"};
    FixedParser parser{&rig};
    Tree t;
    ExpressionAST* clock = t.call(Builtin::Time);
    std::vector<Row> rows;

    template <typename Node>
    Node* unread(std::int64_t offset, int length)
    {
        return placed(t.program.make<Node>(), owner, stream, offset, length);
    }

    Scene()
    {
        auto* text = unread<StringExpressionAST>(0, 4);
        auto* texts = unread<Texts>(5, 8);
        auto* vectors = unread<Vectors>(14, 12);
        auto* colors = unread<Colors>(14, 5);
        auto* floats = unread<Floats>(27, 3);
        auto* ints = unread<Ints>(27, 5);
        auto* unowned = t.program.make<StringExpressionAST>();
        unowned->text = "unowned";
        unowned->length = 2;
        t.program.addObject("shared")->addProperty("text", text);
        const auto first = [&](const Operand& list) { return t.element(list, {0}); };
        // clang-format off
        rows = {
            {"number",        t.node(2.5),                                "2.5"},
            {"negation",      t.negated(t.element(vectors, {1})),         "vec(-4 -5 -6)"},
            {"operator",      t.sum(sampleOf('f'), sampleOf('f')),        "float[0.5 0.25 0.5 0.25]"},
            {"function",      t.call(Builtin::Noise, {t.vec(1, 2, 3)}),   "0.21450795233249664"},
            {"list",          t.list({text, first(texts), first(vectors), first(colors), first(floats), first(ints)}),
                                                                          R"(["lamp", "a", vec(1 2 3), rgb(1 2 3), 7, 7])"},
            {"reference",     t.reference("shared", "text"),              R"("lamp")"},
            {"index",         t.element(ints, {first(sampleOf('i'))}),    "8"},
            {"interpolation", t.keys({{2, sampleOf('v')}, {-1, sampleOf('c')}}), "rgb[1 0 0]"},
            {"vector",        t.vec(t.element(ints, {2}), 2, 3),          "vec(9 2 3)"},
            {"matrix",        t.node(sampleOf('M')),                      "mat(0 1 0, -1 0 0, 0 0 2)"},
            {"color, alpha",  t.node(sampleOf('A')),                      "rgba(0.25 0.5 0.75 1)"},
            {"transform",     t.node(sampleOf('T')),                      "xform(0 1 0, -1 0 0, 0 0 2, 10 20 30)"},
            {"digits",        unread<TransformHexExpressionAST>(33, 120), "xform(1 0 0, 0 0 0, 0 0 0, 0 0 0)"},
            {"text",          text,                                       R"("lamp")"},
            {"text of nobody", unowned,                                   R"("un")"},
            {"object",        t.node(sampleOf('o')),                      "@rig"},
            {"vectors",       unread<Vectors>(13, 13),                    "vec[1 2 3, 4 5 6]"},
            {"ints",          unread<Ints>(26, 6),                        "int[7 8 9]"},
            {"colors",        unread<Colors>(13, 6),                      "rgb[1 2 3]"},
            {"floats",        unread<Floats>(26, 4),                      "float[7 8]"},
            {"texts",         unread<Texts>(4, 9),                        R"(string["a", "b"])"},
            {"runtime value", t.node(sampleOf('r')),                      R"(@rig."power")"},
            {"identifier",    t.node(sampleOf('d')),                      "id(77)"},
        };
        // clang-format on
        DecorationVisitor pass;
        pass.setProgram(&t.program);
        pass.setParser(&parser);
        for (const Row& row : rows)
            row.expression->accept(&pass);
    }
};

TEST(Evaluators, SeeTheSameTreeAsOneAlone)
{
    std::set<std::type_index> kinds;
    for (const Row& row : Scene().rows)
        kinds.insert(typeid(*row.expression));
    EXPECT_EQ(kinds.size(), 22u);

    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        Scene scene;
        onAllThreads([&](int thread) {
            // Each begins elsewhere, elsewhere in each round.
            auto rows = scene.rows;
            std::ranges::rotate(rows, rows.begin() + (thread * 3 + round) % std::ssize(rows));
            for (const Row& row : rows)
                EXPECT_EQ(resultOf(row.expression), row.result) << row.name;
            EXPECT_EQ(evaluated(scene.clock, thread).getDouble(), thread);
        });
        EXPECT_EQ(scene.stream.outOfTurn, 0);
        // The text and what is indexed once, the rest by every thread: vectors and colors, floats and ints.
        constexpr int one = threads, two = 2 * threads;
        EXPECT_EQ(scene.stream.readsAt,
                  (std::map<std::int64_t, int>{
                      {0, 1}, {4, one}, {5, 1}, {13, two}, {14, 2}, {26, two}, {27, 2}, {33, one}}));
    }
}

TEST(Evaluators, TryAgainWhereAnotherFailedToRead)
{
    for (int round = 0; round < 100; ++round) {
        Scene scene;
        ExpressionAST* const expression = scene.rows[round % 2 == 0 ? 1 : 13].expression;
        std::atomic<int> failures = 0;
        scene.stream.throwsAt = "read";
        onAllThreads([&](int) {
            try {
                EXPECT_FALSE(resultOf(expression).starts_with("fails"));
            } catch (const StreamBroke&) {
                ++failures;
            }
        });
        EXPECT_EQ(failures, 1);
        EXPECT_EQ(scene.stream.reads(), 1);
        EXPECT_EQ(scene.stream.outOfTurn, 0);
    }
}

// Who comes later finds nodes made and so catches up with the first; from there on they make them
// at the same moments.
TEST(EveryNode, OfAListIsMadeOnce)
{
    constexpr int elements = 100'000;
    ListTypeExpressionAST<int> list;
    list.values.allocArray(elements);
    list.loaded = 1;
    std::vector<std::vector<ExpressionAST*>> found(threads);
    onAllThreads([&](int thread) {
        for (int i = 0; i < elements; ++i)
            found[static_cast<std::size_t>(thread)].push_back(list.getElement(i));
    });
    for (const auto& nodes : found)
        EXPECT_TRUE(nodes == found[0]);
}

} // namespace
} // namespace Marl::Tests
