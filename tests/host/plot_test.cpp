// marl plot: what is handed to gnuplot, what comes back, and what happens without it.
#include <tests/host/scratch.h>

#include <gmock/gmock.h>

#include <cstdlib>

namespace Marl::Host {

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

// While it lives, the tool finds this shell script as gnuplot and nothing else.
class FakeGnuplot {
public:
    explicit FakeGnuplot(const std::string& script) : FakeGnuplot()
    {
        folder.write("gnuplot", "#!/bin/sh\nPATH=/usr/bin:/bin\n" + script);
        std::filesystem::permissions(folder.path("gnuplot"), std::filesystem::perms::owner_all);
    }
    FakeGnuplot() { setenv("PATH", folder.folder.c_str(), 1); } // none at all
    ~FakeGnuplot() { setenv("PATH", before.c_str(), 1); }

private:
    const std::string before = std::getenv("PATH");
    const ScratchFolder folder;
};

std::vector<std::string> plot(std::vector<std::string> more)
{
    more.insert(more.begin(), {"plot", "s.scene"});
    more.insert(more.end(), {"--from", "0", "--to", "4"});
    return more;
}

// Five times from 0 to 4, and the keys in between.
TEST(Plot, HandsCurvesToGnuplot)
{
    const struct {
        const char* name;
        const char* expression;
        std::vector<const char*> shown;
    } rows[] = {
        {"number without keys", "time * 2", {"$curve1 << end\n0 0\n1 2\n2 4\n3 6\n4 8\nend\nplot"}},
        {"keys, between samples and outside",
         "keys(-1: 0, 1: 8, 1.5: 9, 3.5: 1, 7.5: 9)",
         {"$curve1 << end\n0 4\n1 8\n1.5 9\n2 7\n3 3\n3.5 1\n4 2\nend\n",
          "$keys1 << end\n1 8\n1.5 9\n3.5 1\nend\nplot"}},
        {"vector",
         "vec(time, 1, 0)",
         {"$curve2 << end\n0 1\n1 1\n2 1\n3 1\n4 1\nend\n", "' o.p.x'", "' o.p.y'", "' o.p.z'"}},
        {"color", "rgb(time, 1, 0.5)", {"$curve3 << end\n0 0.5\n", "' o.p.r'", "' o.p.g'", "' o.p.b'"}},
        {"failing and endless times",
         "sqrt([2, @x, 8, 1 / 0, 18][time] * 2)",
         {"$curve1 << end\n0 2\n\n2 4\n\n4 6\nend\nplot"}},
        {"change of kind",
         "[1, 2, vec(3, 3, 3), 4, 5][time]",
         {"$curve1 << end\n0 1\n1 2\n\n3 4\n4 5\nend\n", "$curve2 << end\n2 3\n\nend\n"}},
    };
    const FakeGnuplot echo("cat");
    for (const auto& row : rows) {
        const ScratchFolder files;
        files.write("s.scene", inObject(std::string("p = ") + row.expression + ";"));
        const ToolRun run = runMarl(plot({"o.p", "--samples", "5", "-o", "out.svg"}), files.folder);
        const std::string script = contentOf(files.path("out.svg"));
        EXPECT_THAT(script, StartsWith("set terminal svg ")) << row.name << run.err;
        for (const char* shown : row.shown)
            EXPECT_THAT(script, HasSubstr(shown)) << row.name;
    }
}

TEST(Plot, SaysWhyThereIsAGap)
{
    const ScratchFolder files;
    files.write("s.scene", inObject("p = [2, vec(1, 1, 1), 3, 4, 5][time] + 1; name = \"x\";"));
    const FakeGnuplot echo("cat");
    const ToolRun run = runMarl(plot({"o.p", "o.name", "--samples", "5"}), files.folder);
    EXPECT_THAT(run.err,
                HasSubstr("Unable to sum. The left side is a Vector, the right side a Double. (o.p at time 1)"));
    EXPECT_THAT(run.err, HasSubstr("s.scene: o.name is a String at time 0, which has no curve\n"));
    EXPECT_THAT(run.out, HasSubstr("$curve1"));
    EXPECT_THAT(run.out, Not(HasSubstr("$curve2")));
    EXPECT_EQ(run.status, 1);

    const ToolRun nothing = runMarl(plot({"o.name"}), files.folder);
    EXPECT_THAT(nothing.err, HasSubstr("marl: there is nothing to draw\n"));
    EXPECT_EQ(nothing.out, "");
    EXPECT_EQ(nothing.status, 2);
}

// An old picture is only replaced by a whole one.
TEST(Plot, LeavesThePictureWhereGnuplotFails)
{
    const struct {
        const char* name;
        const char* script;
        const char* message;
    } rows[] = {
        {"complains", "echo half; echo 'plot sin' >&2; echo 'line 1: no sin today' >&2; exit 1",
         "marl: gnuplot failed: line 1: no sin today\n"},
        {"fails in silence", "exit 3", "marl: gnuplot failed: it does not say why\n"},
        {"dies", "echo half; kill -9 $$", "marl: gnuplot was ended by signal 9\n"},
        {"draws nothing", "exit 0", "marl: gnuplot drew nothing: it does not say why\n"},
    };
    const ScratchFolder files;
    files.write("s.scene", inObject("p = time;"));
    files.write("old.png", "old");
    for (const auto& row : rows) {
        const FakeGnuplot fake(row.script);
        const ToolRun run = runMarl(plot({"o.p", "-o", "old.png"}), files.folder);
        EXPECT_EQ(run.err, row.message) << row.name;
        EXPECT_EQ(run.status, 3) << row.name;
        EXPECT_EQ(contentOf(files.path("old.png")), "old") << row.name;
    }
    const FakeGnuplot none;
    const ToolRun run = runMarl(plot({"o.p", "-o", "old.png"}), files.folder);
    EXPECT_EQ(run.err,
              "marl: curves are drawn by gnuplot, which is not installed; on Debian `apt-get install gnuplot-nox` "
              "installs it. `marl eval --format csv` shows the numbers without it\n");
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(contentOf(files.path("old.png")), "old");
}

TEST(Plot, TellsWrongUsage)
{
    const struct {
        std::vector<std::string> arguments;
        const char* message;
    } rows[] = {
        {{"plot", "s.scene", "o.p", "--from", "4", "--to", "4"},
         "marl: --to: 4 is not behind 4, where the curve begins\n"},
        {{"plot", "s.scene", "o.p", "--from", "0", "--to", "inf"},
         "marl: --to: inf is not behind 0, where the curve begins\n"},
        {plot({"o.p", "-o", "curve.gif"}), "marl: -o: the name of a picture ends in .svg or .png\n"},
        {plot({"o.p", "--samples", "1"}),
         "--samples: Value 1 not in range 2 to 1000000\nRun with --help for more information.\n"},
    };
    const ScratchFolder files;
    files.write("s.scene", inObject("p = time;"));
    for (const auto& row : rows) {
        const ToolRun run = runMarl(row.arguments, files.folder);
        EXPECT_EQ(run.err, row.message);
        EXPECT_EQ(run.status, 2);
    }
}

// From here on with the real program.

TEST(Plot, DrawsInTheTerminal)
{
    const ScratchFolder files;
    files.write("s.scene", inObject("p = keys(0: 0, 2: 8, 4: 4);"));
    const ToolRun run = runMarl(plot({"o.p"}), files.folder);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, HasSubstr("******* o.p"));
    EXPECT_GE(std::ranges::count(run.out, 'O'), 3) << "the keys";
    std::size_t longest = 0, lines = 0;
    for (std::size_t begin = 0; begin < run.out.size(); ++lines) {
        const std::size_t end = run.out.find('\n', begin);
        longest = std::max(longest, end - begin);
        begin = end + 1;
    }
    EXPECT_LE(longest, 80u);
    EXPECT_LE(lines, 24u);
    EXPECT_TRUE(std::ranges::all_of(run.out, [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); })) << run.out;
}

TEST(Plot, DrawsPictures)
{
    const ScratchFolder files;
    files.write("s.scene", inObject("p = keys(0: vec(0, 1, 2), 4: vec(1, 2, 0));"));
    EXPECT_EQ(runMarl(plot({"o.p", "-o", "p.svg"}), files.folder).err, "");
    const std::string svg = contentOf(files.path("p.svg"));
    for (const char* shown : {"<?xml", "o.p.x", "o.p.y", "o.p.z", "keys", "</svg>"})
        EXPECT_THAT(svg, HasSubstr(shown));
    EXPECT_EQ(runMarl(plot({"o.p", "-o", "p.png"}), files.folder).err, "");
    const std::string png = contentOf(files.path("p.png"));
    EXPECT_THAT(png, StartsWith("\x89PNG"));
    EXPECT_THAT(png, HasSubstr("IEND"));
}

TEST(Plot, RunsNothingThatANameSays)
{
    const ScratchFolder files;
    files.write("s.scene",
                "scene 1; object `x'; system('touch a'); \"$(touch b)\" {/\\n_^&<` { "
                "`';!touch c` = keys(0: 1, 4: 2); }");
    const ToolRun run =
        runMarl(plot({"`x'; system('touch a'); \"$(touch b)\" {/\\n_^&<`.*", "-o", "p.svg"}), files.folder);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(contentOf(files.path("p.svg")), HasSubstr("system"));
    for (const char* touched : {"a", "b", "c"})
        EXPECT_FALSE(std::filesystem::exists(files.path(touched))) << touched;
}

} // namespace

} // namespace Marl::Host
