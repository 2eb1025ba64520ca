// Several evaluators over one tree, all of them meeting everything for the first time at once.
// The thread sanitizer watches these; the fake stream notices readers who cut in.
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <thread>
#include <vector>

namespace Marl::Tests {
namespace {

constexpr int threads = 8;

// What each of the threads gives; none starts before the last one is there.
template <typename Action>
auto onAllThreads(const Action& action)
{
    std::array<decltype(action(0)), threads> results;
    std::barrier start(threads);
    {
        std::vector<std::jthread> running;
        for (int i = 0; i < threads; ++i)
            running.emplace_back([&, i] {
                start.arrive_and_wait();
                results[static_cast<std::size_t>(i)] = action(i);
            });
    }
    return results;
}

// The first test of this program, for a process builds its noise tables once.
TEST(Evaluators, MeetTheFirstNoiseTogether)
{
    for (const float noise : onAllThreads([](int) { return CalculationVisitor().noise({1, 2, 3}); }))
        EXPECT_EQ(noise, 0x1.b74ff2p-3f);
}

// A scene with every way in which evaluators share, and nothing of it used yet.
struct Scene {
    SourceOwner owner;
    FakeStream stream{"lamp rig 'a', 'b' 1 2 3, 4 5 6 7 8 9 " + std::string(120, '0')};
    Object rig{"rig"};
    FixedParser parser{&rig};
    Tree t;
    ExpressionAST* root = nullptr;

    template <typename Node>
    Node* inSource(std::int64_t offset, int length)
    {
        return placed(t.program.make<Node>(), owner, stream, offset, length);
    }

    Scene()
    {
        auto* text = inSource<StringExpressionAST>(0, 4);
        text->scenePath = "a.scene";
        auto* strings = inSource<ListTypeExpressionAST<CharString>>(9, 8);
        strings->scenePath = "a.scene";
        auto* unowned = t.program.make<StringExpressionAST>();
        unowned->text = "unowned";
        unowned->length = 2;
        auto* runtime = t.program.make<RuntimeValueAST>();
        runtime->objectName = "rig";
        runtime->propertyName = "sway";
        ExpressionAST* inMemory = t.list({sampleOf('v'), sampleOf('i'), sampleOf('c'), sampleOf('f'), sampleOf('S')});
        t.program.addObject("shared")->addProperty("power", t.list({text, inMemory, runtime, t.call(Builtin::Time)}));

        root = t.list({text, inSource<StringExpressionAST>(5, 3), unowned, t.node(sampleOf('s')), runtime,
                       t.reference("shared", "power"), t.element(t.reference("shared", "power"), {1}),
                       t.element(strings, {0}), t.element(strings, {1}),
                       t.element(inSource<ListTypeExpressionAST<Vector>>(18, 12), {1, 2}),
                       t.element(inSource<ListTypeExpressionAST<int>>(31, 5), {t.call(Builtin::Time)}),
                       t.element(sampleOf('f'), {1}), inSource<ListTypeExpressionAST<float>>(32, 3),
                       inSource<TransformHexExpressionAST>(37, 120), t.call(Builtin::Noise, {t.vec(1, 2, 3)}),
                       t.keys({{2, sampleOf('v')}, {-1, sampleOf('v')}, {1, listOf<Vector>({{}, {}})}})});
        DecorationVisitor pass;
        pass.setProgram(&t.program);
        pass.setParser(&parser);
        t.program.getObject("shared")->firstProperty->expression->accept(&pass);
        root->accept(&pass);
    }
};

TEST(Evaluators, SeeTheSameTreeAsOneAlone)
{
    const auto timeOf = [](int thread) { return static_cast<double>(thread % 3); };
    std::array<std::string, threads> alone;
    for (int i = 0; i < threads; ++i)
        alone[static_cast<std::size_t>(i)] = resultOf(Scene().root, timeOf(i));
    EXPECT_EQ(alone[0].find("fails"), std::string::npos);

    constexpr int rounds = 100, evaluations = 3;
    for (int round = 0; round < rounds; ++round) {
        Scene scene;
        EXPECT_EQ(onAllThreads([&](int i) {
                      std::string result = resultOf(scene.root, timeOf(i));
                      for (int k = 1; k < evaluations; ++k)
                          if (resultOf(scene.root, timeOf(i)) != result)
                              result += " at first, then something else";
                      return result;
                  }),
                  alone);
        EXPECT_EQ(scene.stream.outOfTurn, 0);
        // Texts and lists whose elements are asked for are read once, the others every time.
        constexpr int always = threads * evaluations;
        EXPECT_EQ(
            scene.stream.readsAt,
            (std::map<std::int64_t, int>{{0, 1}, {5, 1}, {9, 1}, {18, 1}, {31, 1}, {32, always}, {37, always}}));
    }
}

TEST(Evaluators, TryAgainWhereAnotherFailedToRead)
{
    for (int round = 0; round < 50; ++round) {
        Tree t;
        SourceOwner owner;
        FakeStream stream("lamp");
        stream.throwsAt = "read";
        ExpressionAST* text = placed(t.program.make<StringExpressionAST>(), owner, stream, 0, 4);
        const auto results = onAllThreads([&](int) -> std::string {
            try {
                return resultOf(text);
            } catch (const StreamBroke&) {
                return "broke";
            }
        });
        EXPECT_EQ(std::ranges::count(results, "\"lamp\""), threads - 1);
        EXPECT_EQ(std::ranges::count(results, "broke"), 1);
        EXPECT_EQ(stream.reads(), 1);
        EXPECT_EQ(stream.outOfTurn, 0);
    }
}

} // namespace
} // namespace Marl::Tests
