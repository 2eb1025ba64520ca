// marl explain: how a value comes about, or why it does not.
#include <tests/host/scratch.h>

#include <gmock/gmock.h>

namespace Marl::Host {

namespace {

using ::testing::HasSubstr;

constexpr const char* rig = R"(scene 1;
object rig {
    pos   = keys(0: vec(0, 0, 0), 10: vec(.top, -4, 2 * time), 20: vec(1, 1, 1));
    top   = [.names, 1.5][1] + 0.5;
    names = string["a", "b"];
    wrong = 1 + 2 * .sum;
    sum   = (vec(1, 2, 3)
             - /* left alone */ @desk) * 2;
    list  = int[1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21];
    near  = keys(time - 1: 3, time + 1: 5);
}
)";

// At time 5 half of the way between the keys at 0 and 10 is done.
TEST(Explain, ShowsPartsWithPlaceKindAndValue)
{
    const struct {
        const char* property;
        const char* out;
        int status;
    } rows[] = {
        {"rig.pos",
         "rig.scene:3:5: rig.pos at time 5\n"
         "  3:13  keys(0: vec(0, 0, 0), 10: vec(.top, -4, 2 * tim...  Vector  vec(1, -2, 5)\n"
         "  3:18    0: vec(0, 0, 0)                                   Vector  vec(0, 0, 0)\n"
         "  3:35    10: vec(.top, -4, 2 * time)                       Vector  vec(2, -4, 10)\n"
         "  3:43      .top                                            Double  2  from rig.top (4:5)\n"
         "  3:53      2 * time                                        Double  10\n"
         "  3:57        time                                          Double  5\n"
         "          ...                                                       1 other key\n",
         0},
        {"rig.top",
         "rig.scene:4:5: rig.top at time 5\n"
         "  4:13  [.names, 1.5][1] + 0.5  Double  2\n"
         "  4:13    [.names, 1.5][1]      Double  1.5\n"
         "  4:13      [.names, 1.5]               not evaluated\n"
         "  4:14        .names                    not evaluated  from rig.names (5:5)\n",
         0},
        {"rig.near",
         "rig.scene:10:5: rig.near at time 5\n"
         "  10:13  keys(time - 1: 3, time + 1: 5)  Double  4\n"
         "  10:18    time - 1                      Double  4\n"
         "  10:18      time                        Double  5\n"
         "  10:18    time - 1: 3                   Double  3\n"
         "  10:31    time + 1                      Double  6\n"
         "  10:31      time                        Double  5\n"
         "  10:31    time + 1: 5                   Double  5\n",
         0},
        {"rig.list",
         "rig.scene:9:5: rig.list at time 5\n"
         "  9:13  int[1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 1...  ListInt  "
         "int[1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 ...], 21 items\n",
         0},
        {"rig.wrong",
         "rig.scene:6:5: rig.wrong at time 5\n"
         "  6:13  1 + 2 * .sum                                               needs what fails below\n"
         "  6:17    2 * .sum                                                 needs what fails below\n"
         "  6:21      .sum                                                   needs what fails below  from rig.sum "
         "(7:5)\n"
         "  7:13        (vec(1, 2, 3) - /* left alone */ @desk) * 2          needs what fails below\n"
         "> 7:14          vec(1, 2, 3) - /* left alone */ @desk      fails   Unable to subtract.\n"
         "  7:14            vec(1, 2, 3)                             Vector  vec(1, 2, 3)\n"
         "  8:33            @desk                                    Object  @desk\n",
         1},
    };
    const ScratchFolder files;
    files.write("rig.scene", rig);
    for (const auto& row : rows) {
        const ToolRun run = runMarl({"explain", "rig.scene", row.property, "--time", "5"}, files.folder);
        EXPECT_EQ(run.out, row.out);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.status, row.status);
    }
}

std::string repeated(int count, const std::string& text)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

// What is much is cut, but what fails is found behind it.
TEST(Explain, CutsWhatIsMuchButNotWhatFails)
{
    const struct {
        const char* name;
        std::string statement;
        std::vector<const char*> shown;
        int atMost;
    } rows[] = {
        {"long sum", "p = time" + repeated(5000, " + time") + ";", {"12502.5", "deeper parts are left out"}, 70},
        {"long sum that fails first",
         "p = @x + 1" + repeated(5000, " + time") + ";",
         {"up to the one that fails", "fails  Unable to sum."},
         70},
        {"long list", "p = [" + repeated(1000, "time, ") + "1];", {"980 more parts", "1001 items"}, 30},
        {"long list that fails last",
         "p = [" + repeated(1000, "time, ") + "1 + @x];",
         {"980 more parts", "fails   Unable to sum."},
         30},
        {"many keys", "p = keys(2: 5, 3: 7" + repeated(998, ", 9: 1") + ");", {"Double  6", "998 other keys"}, 5},
        {"many references", "p = .q + .q; q = .r + .r; r = .s + .s; s = time;", {"from o.q"}, 4},
        {"circle", "p = .q; q = .p;", {"Property references form a cycle."}, 8},
    };
    for (const auto& row : rows) {
        const ScratchFolder files;
        files.write("s.scene", inObject(row.statement));
        const ToolRun run = runMarl({"explain", "s.scene", "o.p", "--time", "2.5"}, files.folder);
        for (const char* shown : row.shown)
            EXPECT_THAT(run.out, HasSubstr(shown)) << row.name;
        EXPECT_LE(std::ranges::count(run.out, '\n'), row.atMost) << row.name;
    }
}

} // namespace

} // namespace Marl::Host
