// marl eval over many times: threads, and Ctrl-C.
#include <tests/host/scratch.h>

#include <host/output/value_text.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>

namespace Marl::Host {

namespace {

using ::testing::HasSubstr;

// Cheap and dear times, kinds that change, texts and failures.
constexpr const char* mixed = R"(scene 1;
object o {
    wave  = noise(vec(time, .pick, 0)) * sqrt(time + 1);
    pick  = [time, vec(1, time, 3), "text", [time, "x"], rgb(time, 0, 1)][time / 1000];
    fails = 1 + [1, vec(1, 1, 1), 2][time / 2000];
    far   = [1, 2, 3][time / 1500];
    seed  = sample + uniform(time, 5);
}
)";

TEST(Jobs, ChangeNoByte)
{
    const ScratchFolder files;
    files.write("s.scene", mixed);
    const struct {
        const char* step;
        const char* format;
        const char* failures; // from 4500 on
    } rows[] = {
        {"0.25", "csv", "o.far fails at 2001 of 20001 times"},
        {"0.25", "json", "o.far fails at 2001 of 20001 times"},
        {"0.25", "table", "o.far fails at 2001 of 20001 times"},
        {"200", "csv", "o.far fails at 3 of 26 times"}, // few times, so that the properties are divided
    };
    for (const auto& row : rows) {
        const auto evaluated = [&](const char* jobs) {
            return runMarl({"eval", "s.scene", "--from", "0", "--to", "5000", "--step", row.step, "--jobs", jobs,
                            "--format", row.format},
                           files.folder);
        };
        const ToolRun one = evaluated("1");
        EXPECT_EQ(one.status, 1);
        EXPECT_THAT(one.err, HasSubstr(row.failures));
        for (const char* jobs : {"2", "8"}) {
            const ToolRun many = evaluated(jobs);
            EXPECT_TRUE(many.out == one.out) << jobs << " jobs, " << row.format << ", step " << row.step;
            EXPECT_EQ(many.err, one.err) << jobs << " jobs, " << row.format << ", step " << row.step;
        }
    }
}

// A value of o.dear takes thousands of noises and is the time. Of the hundreds of lists each takes a while to
// be read and written. Beside the scene stands an old file of values. Ctrl-C is pressed after a second.
struct Interrupted {
    Interrupted(const char* last, const std::vector<std::string>& more)
    {
        std::string noises, lists = "l0 = float[" + repeated(1'000'000, "0 ") + "];";
        for (int i = 0; i < 5000; ++i)
            noises += " + noise(vec(time, " + std::to_string(i) + ", 0))";
        for (int i = 1; i <= 300; ++i)
            lists += " l" + std::to_string(i) + " = .l0;";
        files.write("s.scene",
                    "scene 1; object o { dear = time + 0 * (0" + noises + "); } object many { " + lists + " }");
        files.write("values.csv", "old");
        std::vector<std::string> words = {"eval", "s.scene", "--from", "0",        "--to",
                                          last,   "--step",  "1",      "--format", "csv"};
        words.insert(words.end(), more.begin(), more.end());
        run = runMarl(words, files.folder, std::chrono::seconds(1));
    }

    ScratchFolder files;
    ToolRun run;
};

TEST(Interrupt, KeepsTheTimesThatAreFinished)
{
    for (const char* jobs : {"1", "2"})
        for (const bool toFile : {false, true}) {
            std::vector<std::string> arguments = {"o.dear", "--jobs", jobs};
            if (toFile)
                arguments.insert(arguments.end(), {"-o", "values.csv"});
            const Interrupted session("999999", arguments);
            EXPECT_EQ(session.run.status, 130);
            const std::string values = toFile ? contentOf(session.files.path("values.csv")) : session.run.out;

            std::string expected = "time,o.dear\n";
            const auto rows = std::ranges::count(values, '\n') - 1;
            for (int i = 0; i < rows; ++i) {
                const double time = i;
                expected += numberText(time) + ',' + numberText(time) + '\n';
            }
            EXPECT_GT(rows, 0);
            EXPECT_TRUE(values == expected) << values.substr(0, 200);
            EXPECT_EQ(session.run.err,
                      "marl: interrupted; " + std::to_string(rows) + " of 1000000 times are finished\n");
        }
}

// Values that take long are not waited for; where nothing is finished, the old file stays.
TEST(Interrupt, WaitsForNoValue)
{
    const auto begin = std::chrono::steady_clock::now();
    const Interrupted session("9", {"many.*", "-o", "values.csv"});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_EQ(session.run.status, 130);
    EXPECT_EQ(session.run.err, "marl: interrupted; 0 of 10 times are finished\n");
    EXPECT_EQ(contentOf(session.files.path("values.csv")), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(session.files.folder), {}), 2)
        << "nothing is left over";
}

} // namespace

} // namespace Marl::Host
