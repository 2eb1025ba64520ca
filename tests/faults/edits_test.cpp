// Edits of an open scene where memory runs out, and what many of them keep.
#include <tests/faults/failing_memory.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <string>

namespace Marl::Tests {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int many = 20'000;
#else
constexpr int many = 1'000'000;
#endif

// A property that all others follow: through a curve's times, a sum, elements, and a circle.
struct Scene {
    Scene()
    {
        pass.setProgram(&t.program);
        const auto start = [&] { return t.reference("lamp", "start"); };
        auto* list = t.program.make<ListTypeExpressionAST<float>>();
        list->values = listOf<float>({0, 1, 2}).getListFloat();
        list->loaded = 1;
        edited = lamp->addProperty("start", t.list({number, t.element(list, {1})}));
        lamp->addProperty("first", t.element(start(), {0}));
        lamp->addProperty("start", t.list({5, start()}));
        lamp->addProperty("curve", t.keys({{t.reference("lamp", "level"), 1}, {2, 2}, {3, 3}}));
        lamp->addProperty("level", number);
        lamp->addProperty("sum", t.sum(t.reference("lamp", "first"), t.reference("lamp", "level")));
        changeAll();
    }

    void changeAll()
    {
        for (PropertyAST* property = lamp->firstProperty; property; property = property->next)
            pass.changed(property);
    }

    std::string results() const
    {
        std::string all;
        for (const PropertyAST* property = lamp->firstProperty; property; property = property->next)
            all += resultOf(property->expression, 2.25) + "; ";
        return all;
    }

    Tree t;
    DecorationVisitor pass;
    ObjectAST* lamp = t.program.addObject("lamp");
    ExpressionAST* number = t.node(1);
    PropertyAST* edited = nullptr;
};

TEST(OutOfMemory, StopsAnEditThatCanBeRepeated)
{
    const int failing = atEveryAllocation([](const Shortage& shortage) {
        Scene scene;
        EXPECT_EQ(scene.results(), "[1, 1]; 1; [5, [1, 1]]; 2.25; 1; 2; ");
        static_cast<NumberExpressionAST*>(scene.number)->number = 4;
        scene.t.program.remove(scene.edited);
        const Outcome outcome = during(shortage, [&] { scene.pass.changed(scene.edited); });
        scene.changeAll();
        EXPECT_EQ(scene.results(), "5; fails: Property references form a cycle.; 2.25; 4; 9; ");
        return outcome;
    });
    EXPECT_GT(failing, 0);
}

TEST(Memory, IsNotKeptByEdits)
{
    Scene scene;
    long afterAFew = 0;
    for (int i = 0; i < many; ++i) {
        static_cast<NumberExpressionAST*>(scene.number)->number = i % 7;
        scene.pass.changed(i % 2 == 0 ? scene.edited : scene.lamp->lastProperty);
        if (i % 1000 == 0)
            scene.results();
        if (i == 2000)
            afterAFew = liveAllocations();
    }
    EXPECT_EQ(liveAllocations(), afterAFew);
}

} // namespace
} // namespace Marl::Tests
