// Scenes that are long, wide, deep or full of data.
#include <tests/host/scratch.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace Marl::Host {

namespace {

using ::testing::HasSubstr;

// The list of the big scene is 8 MB of text, for which nobody asks. The shell writes it, and this is the first
// test, because what a child process uses counts from what its parent used.
TEST(LargeScenes, HaveOnlyTheDataReadThatIsAskedFor)
{
    const ScratchFolder files;
    const std::string asked = "p = 1; short = float[1 2 3];";
    files.write("small.scene", inObject(asked));
    runShell("(echo 'scene 1; object o { " + asked
                 + " long = vec['; yes '0.25 1.5 -3,' | head -600000; echo ']; }') > big.scene",
             files.folder);
    const ToolRun small = runMarl({"eval", "small.scene"}, files.folder);
    const ToolRun big = runMarl({"eval", "big.scene", "o.p", "o.short"}, files.folder);
    EXPECT_EQ(big.out, small.out);
    EXPECT_EQ(big.status, 0);
    EXPECT_LT(big.peakKilobytes, small.peakKilobytes + 3000);
}

// However deep, wide or circular, every use is told once.
TEST(LargeScenes, HaveTheirUsesListed)
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
        std::string text;
        for (int i = 0; i < count; ++i) {
            const int target = row.target(i);
            text += "p" + std::to_string(i) + " = " + (target < 0 ? "1" : ".p" + std::to_string(target)) + ";\n";
        }
        const ScratchFolder files;
        files.write("large.scene", inObject(text));
        const ToolRun run = runMarl({"deps", "large.scene", "--tree"}, files.folder);
        std::size_t uses = 0;
        for (std::size_t at = 0; (at = run.out.find(" uses ", at)) != std::string::npos; ++at)
            ++uses;
        EXPECT_EQ(uses, static_cast<std::size_t>(count - row.leaves)) << row.name;
        EXPECT_EQ(run.status, row.status) << row.name;
        EXPECT_LT(run.out.size(), 10'000'000u) << row.name;
    }
}

// What is much is cut, but what fails is found behind it.
TEST(LargeScenes, AreExplainedInAFewLines)
{
    const struct {
        const char* name;
        std::string expression;
        std::vector<const char*> shown;
        int atMost;
    } rows[] = {
        {"long sum", "time" + repeated(5000, " + time"), {"12502.5", "deeper parts are left out"}, 70},
        {"long sum that fails first",
         "@x + 1" + repeated(5000, " + time"),
         {"up to the one that fails", "fails  Unable to sum."},
         70},
        {"long list", "[" + repeated(1000, "time, ") + "1]", {"980 more parts", "1001 items"}, 30},
        {"long list that fails last",
         "[" + repeated(1000, "time, ") + "1 + @x]",
         {"980 more parts", "fails   Unable to sum."},
         30},
        {"many keys", "keys(2: 5, 3: 7" + repeated(998, ", 9: 1") + ")", {"Double  6", "998 other keys"}, 5},
    };
    for (const auto& row : rows) {
        const ScratchFolder files;
        files.write("s.scene", inObject("p = " + row.expression + ";"));
        const ToolRun run = runMarl({"explain", "s.scene", "o.p", "--time", "2.5"}, files.folder);
        for (const char* shown : row.shown)
            EXPECT_THAT(run.out, HasSubstr(shown)) << row.name;
        EXPECT_LE(std::ranges::count(run.out, '\n'), row.atMost) << row.name;
    }
}

TEST(LargeScenes, NestNoDeeperThanAThousandLevels)
{
    const auto check = [](int levels, const char* open, const char* inner, const char* close) {
        const ScratchFolder files;
        files.write("s.scene",
                    inObject("p = " + repeated(levels, open) + inner + repeated(levels, close) + "; list = [0, 1];"));
        const ToolRun run = runMarl({"eval", "s.scene", "o.p", "--format", "csv"}, files.folder);
        return run.status == 0 ? run.out : run.err;
    };
    const struct {
        const char* open;
        const char* inner;
        const char* close;
        const char* value;
    } rows[] = {
        {"(", "3", ")", "3"},        {"-", "3", "", "3"},     {"sqr(", "1", ")", "1"},
        {"keys(0: ", "3", ")", "3"}, {"[", "3", "][0]", "3"}, {".list[", "1", "]", "1"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(check(1000, row.open, row.inner, row.close), std::string("time,o.p\n0,") + row.value + '\n');
        EXPECT_THAT(check(1001, row.open, row.inner, row.close), HasSubstr("nested more than 1000 deep here"));
    }
    EXPECT_THAT(check(3'000'000, "(", "3", ")"), HasSubstr("nested more than 1000 deep here"));
    EXPECT_EQ(check(9'000, "1 + ", "1", ""), "time,o.p\n0,9001\n"); // a long sum is not nested
}

// Threads have as much room for references in one another as the program itself.
TEST(LargeScenes, AreEvaluatedAsDeepByThreads)
{
    std::string text = "p0 = time;";
    for (int i = 1; i < 4000; ++i)
        text += " p" + std::to_string(i) + " = .p" + std::to_string(i - 1) + " + 1;";
    const ScratchFolder files;
    files.write("s.scene", inObject(text));
    EXPECT_EQ(
        runMarl({"eval", "s.scene", "o.p3999", "--time", "1", "--jobs", "2", "--format", "csv"}, files.folder).out,
        "time,o.p3999\n1,4000\n");
}

// Lines are found by blocks of the file; the first walk must agree with later ones, in any order.
TEST(LargeScenes, HaveTheirLinesCounted)
{
    const std::string line(60, 'x');
    const ScratchFolder files;
    SceneFile file(files.write("s", repeated(5000, line + '\n') + std::string(200'000, 'y') + '!'));
    const auto expectAt = [&file](std::int64_t offset, std::int64_t expectedLine, std::int64_t expectedColumn) {
        const LineColumn found = file.lineColumn(offset);
        EXPECT_EQ(std::pair(found.line, found.column), std::pair(expectedLine, expectedColumn)) << offset;
    };
    for (const int lines : {4999, 0, 2500, 1, 3999})
        expectAt(lines * 61, lines + 1, 1);
    expectAt(5000 * 61 + 200'000, 5001, 200'001);
}

} // namespace

} // namespace Marl::Host
