// marl deps: who uses whom.
#include <tests/host/scratch.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace Marl::Host {

namespace {

constexpr const char* sharedLamp = R"(scene 1;
object lamp {
    light = .warm * .power;
    power = keys(0: 100, 10: rig.sway);
    warm  = rgb(1, 0.8, 0.6);
}
object rig {
    sway   = .`half "way"\` + .`half "way"\`;
    `half "way"\` = 0.5;
    first  = .second[0];
    second = [1, .first];
    bright = lamp.power * rig.sway;
}
)";

TEST(Deps, ShowsWhatIsUsedAndWhatUsesIt)
{
    const struct {
        const char* name;
        std::vector<std::string> arguments;
        const char* out;
    } rows[] = {
        {"one property",
         {"lamp.power"},
         "lamp.power (4:5)\n"
         "  uses rig.sway (8:5)\n"
         "  used by lamp.light (3:5)\n"
         "  used by rig.bright (12:5)\n"},
        {"used twice in one, named once",
         {"rig.`half \"way\"\\`"},
         "rig.`half \"way\"\\` (9:5)\n"
         "  used by rig.sway (8:5)\n"},
        {"all of an object",
         {"lamp.*"},
         "lamp.light (3:5)\n"
         "  uses lamp.power (4:5)\n"
         "  uses lamp.warm (5:5)\n"
         "lamp.power (4:5)\n"
         "  uses rig.sway (8:5)\n"
         "  used by lamp.light (3:5)\n"
         "  used by rig.bright (12:5)\n"
         "lamp.warm (5:5)\n"
         "  used by lamp.light (3:5)\n"},
        {"tree both ways",
         {"lamp.power", "--tree"},
         "lamp.power (4:5)\n"
         "  uses rig.sway (8:5)\n"
         "    uses rig.`half \"way\"\\` (9:5)\n"
         "  used by lamp.light (3:5)\n"
         "  used by rig.bright (12:5)\n"},
        {"all trees: what is common once, the circle last",
         {"--tree"},
         "lamp.light (3:5)\n"
         "  uses lamp.power (4:5)\n"
         "    uses rig.sway (8:5)\n"
         "      uses rig.`half \"way\"\\` (9:5)\n"
         "  uses lamp.warm (5:5)\n"
         "rig.bright (12:5)\n"
         "  uses lamp.power (4:5), see above\n"
         "  uses rig.sway (8:5), see above\n"
         "rig.first (10:5)\n"
         "  uses rig.second (11:5)\n"
         "    uses rig.first (10:5), see above\n"},
        {"unused", {"--unused"}, "lamp.light (3:5)\nrig.bright (12:5)\n"},
        {"unused of one object", {"--unused", "rig.*"}, "rig.bright (12:5)\n"},
        {"graph of what is connected",
         {"--dot", "rig.sway"},
         "digraph \"lamp.scene\" {\n"
         "    rankdir=LR;\n"
         "    node [shape=box];\n"
         "    \"lamp.light\";\n"
         "    \"lamp.light\" -> \"lamp.power\";\n"
         "    \"lamp.power\";\n"
         "    \"lamp.power\" -> \"rig.sway\";\n"
         "    \"rig.sway\";\n"
         "    \"rig.sway\" -> \"rig.`half \\\"way\\\"\\\\`\";\n"
         "    \"rig.`half \\\"way\\\"\\\\`\";\n"
         "    \"rig.bright\";\n"
         "    \"rig.bright\" -> \"lamp.power\";\n"
         "    \"rig.bright\" -> \"rig.sway\";\n"
         "}\n"},
    };
    const ScratchFolder files;
    files.write("lamp.scene", sharedLamp);
    for (const auto& row : rows) {
        std::vector<std::string> arguments = {"deps", "lamp.scene"};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        const ToolRun run = runMarl(arguments, files.folder);
        EXPECT_EQ(run.out, row.out) << row.name;
        EXPECT_EQ(run.err, "") << row.name;
        EXPECT_EQ(run.status, 0) << row.name;
    }
}

// A mistake costs what needs it; a mistake of the text costs the listing.
TEST(Deps, GoesOnWithoutWhatIsMissing)
{
    const ScratchFolder files;
    files.write("missing.scene", inObject("a = .gone + .b; b = .a;"));
    const ToolRun missing = runMarl({"deps", "missing.scene", "o.a"}, files.folder);
    EXPECT_EQ(missing.out, "o.a (1:21)\n  uses o.b (1:37)\n  used by o.b (1:37)\n");
    EXPECT_NE(missing.err.find("Could not find gone property"), std::string::npos);
    EXPECT_NE(missing.err.find("form a cycle: o.a (1:21) -> o.b (1:37) -> o.a"), std::string::npos);
    EXPECT_EQ(missing.status, 1);

    files.write("broken.scene", inObject("a = ;"));
    const ToolRun broken = runMarl({"deps", "broken.scene"}, files.folder);
    EXPECT_EQ(broken.out, "");
    EXPECT_EQ(broken.status, 1);
}

// However deep, wide or circular, every use is told once.
TEST(Deps, TakesLargeScenes)
{
    constexpr int count = 30'000;
    const struct {
        const char* name;
        int (*target)(int);
        int leaves;
        int status;
    } rows[] = {
        {"chain", [](int i) { return i - 1; }, 1, 0},
        {"all of one", [](int i) { return i > 0 ? 0 : -1; }, 1, 0},
        {"circle", [](int i) { return (i + 1) % count; }, 0, 1},
    };
    for (const auto& row : rows) {
        std::string text = "scene 1;\nobject o {\n";
        for (int i = 0; i < count; ++i) {
            const int target = row.target(i);
            text += "p" + std::to_string(i) + " = " + (target < 0 ? "1" : ".p" + std::to_string(target)) + ";\n";
        }
        const ScratchFolder files;
        files.write("large.scene", text + "}\n");
        const ToolRun run = runMarl({"deps", "large.scene", "--tree"}, files.folder);
        std::size_t uses = 0;
        for (std::size_t at = 0; (at = run.out.find(" uses ", at)) != std::string::npos; ++at)
            ++uses;
        EXPECT_EQ(uses, static_cast<std::size_t>(count - row.leaves)) << row.name;
        EXPECT_EQ(run.status, row.status) << row.name;
        EXPECT_LT(run.out.size(), 10'000'000u) << row.name;
    }
}

} // namespace

} // namespace Marl::Host
