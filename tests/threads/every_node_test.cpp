// Eight evaluators over a tree of every kind of node, nothing of it used before, two thousand times.
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <barrier>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <typeindex>
#include <vector>

namespace Marl::Tests {
namespace {

struct Scene {
    // clang-format off
    using Texts   = ListTypeExpressionAST<CharString>;
    using Vectors = ListTypeExpressionAST<Vector>;
    using Colors  = ListTypeExpressionAST<Color>;
    using Floats  = ListTypeExpressionAST<float>;
    using Ints    = ListTypeExpressionAST<int>;
    // clang-format on

    Tree t;
    SourceOwner owner;
    FakeStream stream{"lamp 'a', 'b' 1 2 3, 4 5 6 7 8 9 3f800000" + std::string(112, '0')};
    StringExpressionAST* text = unread<StringExpressionAST>(0, 4);
    Texts* texts = unread<Texts>(5, 8);
    Vectors* vectors = unread<Vectors>(14, 12);
    Colors* colors = unread<Colors>(14, 5);
    Floats* floats = unread<Floats>(27, 3);
    Ints* ints = unread<Ints>(27, 5);
    std::vector<Row> rows;

    template <typename Node>
    Node* unread(std::int64_t offset, int length)
    {
        return placed(t.program.make<Node>(), owner, stream, offset, length);
    }

    Scene()
    {
        auto* keys = t.keys({{2, sampleOf('v')}, {-2, vectors}});
        keys->sortKeys();
        const auto first = [&](ExpressionAST* list) { return t.element(list, {0}); };
        // clang-format off
        rows = {
            {"number",        t.node(2.5),                              "2.5"},
            {"negation",      t.negated(t.element(vectors, {1})),       "vec(-4 -5 -6)"},
            {"operator",      t.sum(floats, floats),                    "float[7 8 7 8]"},
            {"function",      t.call(Builtin::Noise, {t.vec(1, 2, 3)}), "0.21450795233249664"},
            {"list",          t.list({text, first(texts), first(vectors), first(colors), first(floats), first(ints)}),
                                                                        R"(["lamp", "a", vec(1 2 3), rgb(1 2 3), 7, 7])"},
            {"reference",     t.reference(t.property(text)),            R"("lamp")"},
            {"index",         t.element(t.reference(t.property(ints)), {t.element(sampleOf('i'), {0})}), "8"},
            {"interpolation", keys,                                     "vec[1 2 3, 4 5 6]"},
            {"vector",        t.vec(t.element(ints, {2}), 2, 3),        "vec(9 2 3)"},
            {"matrix",        t.node(sampleOf('M')),                    "mat(0 1 0, -1 0 0, 0 0 2)"},
            {"color, alpha",  t.node(sampleOf('A')),                    "rgba(0.25 0.5 0.75 1)"},
            {"transform",     t.node(sampleOf('T')),                    "xform(0 1 0, -1 0 0, 0 0 2, 10 20 30)"},
            {"digits",        unread<TransformHexExpressionAST>(33, 120), "xform(1 0 0, 0 0 0, 0 0 0, 0 0 0)"},
            {"text",          text,                                     R"("lamp")"},
            {"object",        t.node(sampleOf('o')),                    "@lamp"},
            {"vectors",       vectors,                                  "vec[1 2 3, 4 5 6]"},
            {"ints",          ints,                                     "int[7 8 9]"},
            {"colors",        colors,                                   "rgb[1 2 3]"},
            {"floats",        floats,                                   "float[7 8]"},
            {"texts",         texts,                                    R"(string["a", "b"])"},
            {"runtime value", t.node(sampleOf('r')),                    R"(@lamp."power")"},
            {"identifier",    t.node(sampleOf('d')),                    "id(77)"},
        };
        // clang-format on
    }
};

TEST(EveryNode, IsTheSameForEightEvaluators)
{
    std::set<std::type_index> kinds;
    for (const Row& row : Scene().rows)
        kinds.insert(typeid(*row.expression));
    EXPECT_EQ(kinds.size(), 22u);

    constexpr int threads = 8, rounds = 2000;
    auto scene = std::make_unique<Scene>();
    int outOfTurn = 0, textReads = 0;
    std::barrier nextRound(threads, [&]() noexcept {
        outOfTurn += scene->stream.outOfTurn;
        textReads += scene->stream.readsAt[0];
        scene = std::make_unique<Scene>();
    });
    std::vector<std::string> wrong[threads];
    {
        std::vector<std::jthread> running;
        for (int thread = 0; thread < threads; ++thread)
            running.emplace_back([&, thread] {
                for (int round = 0; round < rounds; ++round) {
                    // Each thread begins elsewhere, elsewhere in each round.
                    auto rows = scene->rows;
                    std::rotate(rows.begin(), rows.begin() + (thread * 3 + round) % 22, rows.end());
                    for (const Row& row : rows)
                        if (const std::string result = resultOf(row.expression); result != row.result)
                            wrong[thread].push_back(row.name + (": " + result));
                    nextRound.arrive_and_wait();
                }
            });
    }
    for (const auto& results : wrong)
        EXPECT_EQ(results, std::vector<std::string>());
    EXPECT_EQ(outOfTurn, 0);
    EXPECT_EQ(textReads, rounds);
}

// Who comes later finds nodes made and so catches up with the first; from there on they make them
// at the same moments.
TEST(EveryNode, OfAListIsMadeOnce)
{
    constexpr int threads = 8, elements = 100'000;
    ListTypeExpressionAST<int> list;
    list.values.allocArray(elements);
    list.loaded = 1;
    std::vector<ExpressionAST*> found[threads];
    std::barrier start(threads);
    {
        std::vector<std::jthread> running;
        for (auto& nodes : found)
            running.emplace_back([&] {
                start.arrive_and_wait();
                for (int i = 0; i < elements; ++i)
                    nodes.push_back(list.getElement(i));
            });
    }
    for (const auto& nodes : found)
        EXPECT_TRUE(nodes == found[0]);
}

} // namespace
} // namespace Marl::Tests
