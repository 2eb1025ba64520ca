// marl check: what is said of broken scenes, where, and with which exit status.
#include <tests/host/scratch.h>

#include <host/analysis/check.h>
#include <host/analysis/visit_count.h>
#include <host/report/did_you_mean.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace Marl::Host {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::filesystem::path brokenScenes = std::filesystem::path(MARL_SOURCE_DIR) / "tests/host/broken";
const std::filesystem::path exampleScenes = std::filesystem::path(MARL_SOURCE_DIR) / "examples/scenes";

std::vector<std::filesystem::path> scenesIn(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> scenes;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".scene")
            scenes.push_back(entry.path());
    std::ranges::sort(scenes);
    return scenes;
}

// Every scene stands beside what is to be said of it, whole.
TEST(Check, SaysWhatIsWrongWithBrokenScenes)
{
    ASSERT_GT(scenesIn(brokenScenes).size(), 40u);
    for (const auto& scene : scenesIn(brokenScenes)) {
        const std::string expected = contentOf(std::filesystem::path(scene).replace_extension("expected"));
        const ToolRun run = runMarl({"check", scene.filename()}, brokenScenes);
        EXPECT_EQ(run.out, expected);
        EXPECT_EQ(run.status, expected.find(" error") == std::string::npos ? 0 : 1) << scene;
        EXPECT_EQ(run.err, "");
    }
}

TEST(Check, FindsNothingInTheExamples)
{
    ASSERT_GE(scenesIn(exampleScenes).size(), 5u);
    for (const auto& scene : scenesIn(exampleScenes)) {
        const ToolRun run = runMarl({"check", "--werror", scene.filename()}, exampleScenes);
        EXPECT_EQ(run.status, 0) << run.out;
        EXPECT_THAT(run.out, HasSubstr("no mistakes"));
    }
}

TEST(Check, LetsWarningsFailOnDemandAndGoesOnBehindAFileThatIsNotThere)
{
    EXPECT_EQ(runMarl({"check", "--werror", "doubled_keys.scene"}, brokenScenes).status, 1);
    const ToolRun run = runMarl({"check", "missing.scene", "doubled_keys.scene"}, brokenScenes);
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.err, "marl: missing.scene: No such file or directory\n");
    EXPECT_THAT(run.out, HasSubstr("doubled_keys.scene: 1 warning\n"));
}

TEST(Check, SpeaksJsonToEditors)
{
    const ToolRun run = runMarl({"check", "--format", "json", "unknown_object.scene", "empty.scene"}, brokenScenes);
    const auto found = nlohmann::json::parse(run.out);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0],
              nlohmann::json({{"file", "unknown_object.scene"},
                              {"line", 3},
                              {"column", 13},
                              {"severity", "error"},
                              {"message", "Could not find lmap object."},
                              {"hint", "Did you mean `lamp`?"}}));
    EXPECT_EQ(found[1]["hint"], nullptr);
    EXPECT_EQ(nlohmann::json::parse(runMarl({"check", "--format", "json", "road.scene"}, exampleScenes).out),
              nlohmann::json::array());
}

// A mistake may hide a name; what refers to it is then no mistake of its own.
TEST(Check, SaysNothingOfWhatOnlyFollows)
{
    const struct {
        const char* text;
        std::vector<std::string> messages;
    } rows[] = {
        {"scene 1; object a { p = ; q = .p; }", {"a value is missing after `=`"}},
        {"scene 1; object { p = 1; } object a { q = b.p; }", {"the object's name is missing"}},
        {"scene 1; object a { q = b.p + .x; } object b 5 { p = 1; }",
         {"Could not find x property of object a", "expected `{` after the object's name"}},
        {"scene 1; object a { p = \"x\\\"y\"; q = 1; r = .q; }", {"expected an operator or `;`"}},
        {"scene 1; object a { p = 1; } q = 2; object b { r = .q; }",
         {"a property stands outside an object's curly brackets"}},
        {"scene 1; object a { p = .gone; } /* object b {}", {"this comment is not closed"}},
        {"scene 1;\nobject a {\n p = 1,5\n q = 2;\n r = .q;\n}", {"expected an operator or `;`"}},
    };
    for (const auto& row : rows) {
        TextScene text(row.text);
        std::vector<std::string> messages;
        for (const Diagnostic& mistake : checkScene(text.scene))
            messages.push_back(mistake.text);
        EXPECT_EQ(messages, row.messages) << row.text;
    }
}

// The lowest of its properties in the file leads; one that is left by every way closes no circle.
TEST(Check, NamesEveryCircleOnce)
{
    TextScene text("scene 1;\n"
                   "object a { in = .x; x = b.y + .z; z = .x * .x; }\n"
                   "object b { y = a.x; list = [1, .list[0]]; }\n");
    std::vector<std::string> circles;
    for (const Diagnostic& mistake : checkScene(text.scene))
        circles.push_back(mistake.text);
    EXPECT_THAT(circles,
                ElementsAre("Property references form a cycle: a.x (2:21) -> b.y (3:12) -> a.x",
                            "Property references form a cycle: a.x (2:21) -> a.z (2:35) -> a.x"));
}

TEST(Check, CountsTheNodesThatAnEvaluationVisits)
{
    const struct {
        const char* expression;
        std::uint64_t visits;
    } rows[] = {
        {"1", 1},
        {"1 + 2", 3},
        {"-(1 + 2)", 4},
        {".five", 2},
        {".sum", 5},
        {".sum + .sum", 11},
        {"vec(1, .five, .sum)", 9},
        {"keys(0: 1, 1: .sum, 2: .five)", 1 + 5 + 2}, // the costliest neighbors; known times are not visited
        {"keys(time: 1, .five: .sum)", 1 + 1 + 2 + 1 + 5},
        {"[1, .sum, 3][1]", 1 + 5 + 1},
        {".list[0]", 1 + 5 + 1},
        {".own + 1", 4},
    };
    for (const auto& row : rows) {
        TextScene text(inObject(std::string("p = ") + row.expression
                                + "; five = 5; sum = .five + 1 ; list = [.sum, 2]; own = .own;"));
        resolve(text.scene);
        EXPECT_EQ(VisitCounter().visitsOf(text.scene.findProperty("o", "p")), row.visits) << row.expression;
    }
}

TEST(Check, SuggestsOnlyWhatIsNear)
{
    const std::string_view names[] = {"lamp", "sqr", "sqrt", "height", "x"};
    const struct {
        const char* wrong;
        const char* suggestion;
    } rows[] = {
        {"lmap", "Did you mean `lamp`?"},
        {"Lamp", "Did you mean `lamp`?"},
        {"lamps", "Did you mean `lamp`?"},
        {"sqtr", "Did you mean `sqrt`?"},
        {"heigth", "Did you mean `height`?"},
        {"hieght", "Did you mean `height`?"},
        {"y", ""},
        {"lost", ""},
        {"desk", ""},
        {"", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(didYouMean(row.wrong, names), row.suggestion) << row.wrong;
}

TEST(Check, PutsTheCaretUnderThePlace)
{
    const std::string longLine = "x = " + std::string(300, '1') + " ! " + std::string(300, '2');
    const struct {
        const char* name;
        std::string text;
        std::int64_t begin, end;
        const char* shown;
    } rows[] = {
        {"plain", "a = 12;\nb = 34;\n", 12, 14, "2:5: error: m\nb = 34;\n    ^~\n"},
        {"tabs stay tabs", "\t\ta =\t1;", 6, 7, "1:7: error: m\n\t\ta =\t1;\n\t\t   \t^\n"},
        {"columns are bytes, the caret counts characters", "größe = x", 10, 11,
         "1:11: error: m\ngröße = x\n        ^\n"},
        {"carriage returns are no part of the line", "a\r\nb;\r\n", 4, 5, "2:2: error: m\nb;\n ^\n"},
        {"control characters and lone bytes take one column", "\x1b[1m\xff x", 6, 7,
         "1:7: error: m\n\xef\xbf\xbd[1m\xef\xbf\xbd x\n      ^\n"},
        {"at the end of the file", "a = ", 4, 4, "1:5: error: m\na = \n    ^\n"},
        {"what goes over lines is underlined on the first", "[1,\n2]", 0, 6, "1:1: error: m\n[1,\n^~~\n"},
    };
    for (const auto& row : rows) {
        const ScratchFolder files;
        SceneFile file(files.write("s", row.text));
        EXPECT_EQ(describe({Severity::Error, {row.begin, row.end}, "m"}, file), files.path("s") + ":" + row.shown)
            << row.name;
    }
    const ScratchFolder files;
    SceneFile file(files.write("s", longLine));
    const std::string shown = describe({Severity::Warning, {305, 306}, "m"}, file);
    EXPECT_EQ(shown,
              files.path("s") + ":1:306: warning: m\n..." + std::string(119, '1') + " ! " + std::string(78, '2')
                  + "...\n" + std::string(123, ' ') + "^\n");
}

// Lines are found by blocks of the file; the first walk must agree with later ones, in any order.
TEST(Check, CountsLinesAcrossBlocks)
{
    std::string text;
    std::vector<std::int64_t> begins;
    for (int line = 0; line < 5000; ++line) {
        begins.push_back(static_cast<std::int64_t>(text.size()));
        text += std::string(static_cast<std::size_t>(line * 7919 % 97), 'x') + '\n';
    }
    text += std::string(200'000, 'y') + "!";
    const ScratchFolder files;
    SceneFile file(files.write("s", text));
    for (std::size_t line : {4999u, 0u, 2500u, 1u, 3999u}) {
        const LineColumn found = file.lineColumn(begins[line]);
        EXPECT_EQ(found.line, static_cast<std::int64_t>(line) + 1);
        EXPECT_EQ(found.column, 1);
    }
    EXPECT_EQ(file.lineColumn(static_cast<std::int64_t>(text.size()) - 1).line, 5001);
    EXPECT_EQ(file.lineColumn(static_cast<std::int64_t>(text.size()) - 1).column, 200'001);
}

} // namespace

} // namespace Marl::Host
