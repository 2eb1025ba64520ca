// marl plot with the real gnuplot.
#include <tests/host/scratch.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace Marl::Host {

namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::vector<std::string> plot(std::vector<std::string> more)
{
    more.insert(more.begin(), {"plot", "s.scene"});
    more.insert(more.end(), {"--from", "0", "--to", "4"});
    return more;
}

TEST(Plot, DrawsInTheTerminal)
{
    const ScratchFolder files;
    files.write("s.scene", inObject("p = keys(0: 0, 2: 8, 4: 4);"));
    const ToolRun run = runMarl(plot({"o.p"}), files.folder);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, HasSubstr("******* o.p"));
    EXPECT_GE(std::ranges::count(run.out, 'O'), 3) << "the keys";
    EXPECT_THAT(run.out, Not(ContainsRegex("[^\n]{81}")));
    EXPECT_LE(std::ranges::count(run.out, '\n'), 24);
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
