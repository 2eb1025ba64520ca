// What the host makes of a scene's text: places, and data left in the file.
#include <tests/host/scratch.h>

#include <host/analysis/evaluation.h>
#include <host/analysis/resolution.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>

namespace Marl::Host {

namespace {

TEST(Scenes, NoteWhereThingsStand)
{
    const std::string text =
        "scene 1;\nobject o {\n  p = (1 + .q) * -2;\n  `q r` = keys(0: [1][0], 2: 3);\n  q = vec[ 1 2 3 ];\n}\n";
    TextScene file(text);
    Scene& scene = file.scene;
    const auto textOfThing = [&](const auto* thing) { return scene.file.textAt(scene.placeOf(thing)); };
    ObjectAST* object = scene.program.getObject("o");
    const auto expressionOf = [&](const char* name) { return object->getProperty(name)->expression; };

    EXPECT_EQ(textOfThing(object), "o");
    EXPECT_EQ(textOfThing(object->getProperty("q r")), "`q r`");
    const auto* product = dynamic_cast<BinaryExpressionAST*>(expressionOf("p"));
    EXPECT_EQ(textOfThing(product), "(1 + .q) * -2");
    EXPECT_EQ(textOfThing(product->left), "1 + .q");
    EXPECT_EQ(textOfThing(product->right), "-2");
    const auto* keys = dynamic_cast<InterpolateExpressionAST*>(expressionOf("q r"));
    EXPECT_EQ(textOfThing(keys->firstKey), "0: [1][0]");
    EXPECT_EQ(textOfThing(keys->firstKey->value), "[1][0]");
    EXPECT_EQ(textOfThing(expressionOf("q")), "vec[ 1 2 3 ]");
}

// What is read later must belong to what was read first.
TEST(Scenes, AreNotReadFromAFileThatHasChanged)
{
    const std::string text = inObject("p = \"old\";"), sameLength = inObject("p = \"new\";");
    const struct {
        const char* name;
        std::function<void(const ScratchFolder&)> change;
        bool endsReading;
    } rows[] = {
        {"longer", [&](const ScratchFolder& files) { files.write("text.scene", text + ' '); }, true},
        {"shorter", [&](const ScratchFolder& files) { files.write("text.scene", "scene 1;"); }, true},
        {"as long", [&](const ScratchFolder& files) { files.write("text.scene", sameLength); }, true},
        {"another in its place",
         [&](const ScratchFolder& files) {
             std::filesystem::rename(files.write("new.scene", sameLength), files.path("text.scene"));
         },
         false},
        {"removed", [](const ScratchFolder& files) { std::filesystem::remove(files.path("text.scene")); }, false},
    };
    for (const auto& row : rows) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, row.name);
        TextScene file(text);
        SceneFile& read = file.scene.file;
        const SceneProperty property = file.scene.properties[0];
        const auto everyRead = {
            std::function([&] { EXPECT_EQ(evaluate(property, {}).getString(), "old"); }),
            std::function([&] {
                EXPECT_EQ(read.textAt({0, 5}), "scene");
            }),
            std::function([&] { EXPECT_EQ(read.lineColumnText(20), "1:21"); }),
            std::function([&] { read.requireUnchanged(); }),
        };
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // clocks of files are slow
        row.change(file.files);
        for (const auto& aRead : everyRead) {
            if (row.endsReading)
                EXPECT_THROW(aRead(), FileError);
            else
                aRead();
        }
    }
}

TEST(Scenes, OfTheExamplesHaveNoMistakes)
{
    const ToolRun run = runShell("marl check --werror *.scene", MARL_SOURCE_DIR "/examples/scenes");
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_GE(std::ranges::count(run.out, '\n'), 5);
}

} // namespace

} // namespace Marl::Host
