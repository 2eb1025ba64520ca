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
    const auto evaluated = [&](const char* jobs, const char* format) {
        return runMarl(
            {"eval", "s.scene", "--from", "0", "--to", "5000", "--step", "0.25", "--jobs", jobs, "--format", format},
            files.folder);
    };
    for (const char* format : {"csv", "json", "table"}) {
        const ToolRun one = evaluated("1", format);
        EXPECT_EQ(one.status, 1);
        EXPECT_THAT(one.err, HasSubstr("o.far fails at 2001 of 20001 times")); // from 4500 on
        for (const char* jobs : {"2", "8"}) {
            const ToolRun many = evaluated(jobs, format);
            EXPECT_TRUE(many.out == one.out) << jobs << " jobs, " << format;
            EXPECT_EQ(many.err, one.err) << jobs << " jobs, " << format;
        }
    }
}

// The properties double their work: a value of o.x12 takes some hundredth of a millisecond, one of o.x60 years.
// Beside the scene stands an old file of values. Ctrl-C is pressed after a second.
struct Interrupted {
    explicit Interrupted(const std::vector<std::string>& more)
    {
        std::string statements = "x0 = time;";
        for (int i = 1; i <= 60; ++i) {
            const std::string before = ".x" + std::to_string(i - 1);
            statements += " x" + std::to_string(i) + " = " + before + " + " + before + ';';
        }
        files.write("s.scene", inObject(statements));
        files.write("values.csv", "old");
        std::vector<std::string> words = {"eval",   "s.scene", "--from", "0",        "--to",
                                          "999999", "--step",  "1",      "--format", "csv"};
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
            std::vector<std::string> arguments = {"o.x12", "o.x0", "--jobs", jobs};
            if (toFile)
                arguments.insert(arguments.end(), {"-o", "values.csv"});
            const Interrupted session(arguments);
            EXPECT_EQ(session.run.status, 130);
            const std::string values = toFile ? contentOf(session.files.path("values.csv")) : session.run.out;

            std::string expected = "time,o.x12,o.x0\n";
            const auto rows = std::ranges::count(values, '\n') - 1;
            for (int i = 0; i < rows; ++i) {
                const double time = i;
                expected += numberText(time) + ',' + numberText(4096 * time) + ',' + numberText(time) + '\n';
            }
            EXPECT_GT(rows, 0);
            EXPECT_TRUE(values == expected) << values.substr(0, 200);
            EXPECT_EQ(session.run.err,
                      "marl: interrupted; " + std::to_string(rows) + " of 1000000 times are finished\n");
        }
}

// A value that takes years is not waited for; where nothing is finished, the old file stays.
TEST(Interrupt, WaitsForNoValue)
{
    const auto begin = std::chrono::steady_clock::now();
    const Interrupted session({"o.x60", "-o", "values.csv"});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_EQ(session.run.status, 130);
    EXPECT_EQ(session.run.err, "marl: interrupted; 0 of 1000000 times are finished\n");
    EXPECT_EQ(contentOf(session.files.path("values.csv")), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(session.files.folder), {}), 2)
        << "nothing is left over";
}

} // namespace

} // namespace Marl::Host
