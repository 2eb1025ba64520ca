// What the host makes of a scene's text.
#include <tests/host/scratch.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace Marl::Host {

namespace {

TEST(Scenes, NoteWhereThingsStand)
{
    const std::string text =
        "scene 1;\nobject o {\n  p = (1 + .q) * -2;\n  `q r` = keys(0: [1][0], 2: 3);\n  q = vec[ 1 2 3 ];\n}\n";
    TextScene file(text);
    Scene& scene = file.scene;
    const auto textOfThing = [&](const void* thing) { return scene.file.textAt(scene.placeOf(thing)); };
    const auto expressionOf = [&](const char* name) { return scene.findProperty("o", name)->expression; };

    EXPECT_EQ(textOfThing(scene.findObject("o")), "o");
    EXPECT_EQ(textOfThing(scene.findProperty("o", "q r")), "`q r`");
    const auto* product = dynamic_cast<BinaryExpressionAST*>(expressionOf("p"));
    EXPECT_EQ(textOfThing(product), "(1 + .q) * -2");
    EXPECT_EQ(textOfThing(product->left), "1 + .q");
    EXPECT_EQ(textOfThing(product->right), "-2");
    const auto* keys = dynamic_cast<InterpolateExpressionAST*>(expressionOf("q r"));
    EXPECT_EQ(textOfThing(keys->firstKey), "0: [1][0]");
    EXPECT_EQ(textOfThing(keys->firstKey->value), "[1][0]");
    EXPECT_EQ(textOfThing(expressionOf("q")), "vec[ 1 2 3 ]");
}

TEST(Scenes, OfTheExamplesHaveNoMistakes)
{
    const ToolRun run = runShell("marl check --werror *.scene", MARL_SOURCE_DIR "/examples/scenes");
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_GE(std::ranges::count(run.out, '\n'), 5);
}

} // namespace

} // namespace Marl::Host
