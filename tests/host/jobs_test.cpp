// marl eval over many times: threads, and what ends it before its time.
#include <tests/host/scratch.h>

#include <host/report/number_text.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <thread>
#include <utility>

#include <signal.h>

namespace Marl::Host {

namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

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

using ValueFiles = std::map<std::string, std::string>;

// A value of o.dear takes thousands of noises and is the time. Of the hundreds of lists each takes a while to
// be read and written. Beside the scene stands an old file of values.
struct LongRun {
    LongRun(const char* last, const std::vector<std::string>& more,
            const std::function<void(const LongRun&, pid_t)>& meanwhile)
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
        run = runMarl(words, files.folder, [&](pid_t tool) { meanwhile(*this, tool); });
    }

    // All files but the scene, and what is in them.
    ValueFiles valueFiles() const
    {
        ValueFiles found;
        for (const auto& file : std::filesystem::directory_iterator(files.folder))
            if (file.path().filename() != "s.scene")
                found[file.path().filename()] = contentOf(file.path());
        return found;
    }

    // The file that is to replace the old one is made before the work begins.
    void waitForWork() const
    {
        for (int i = 0; i < 6000 && valueFiles().size() < 2; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }

    ScratchFolder files;
    ToolRun run;
};

void pressCtrlC(const LongRun&, pid_t tool)
{
    std::this_thread::sleep_for(std::chrono::seconds(1));
    kill(tool, SIGINT);
}

std::string interruptedAfter(std::ptrdiff_t times, const std::string& remark)
{
    return "marl: interrupted; " + std::to_string(times) + " of 1000000 times are finished" + remark + '\n';
}

TEST(Interrupt, KeepsTheTimesThatAreFinished)
{
    for (const bool toFile : {false, true})
        for (const char* jobs : {"1", "2"}) {
            std::vector<std::string> arguments = {"o.dear", "--jobs", jobs};
            if (toFile)
                arguments.insert(arguments.end(), {"-o", "values.csv", "--keep-partial"});
            const LongRun session("999999", arguments, pressCtrlC);
            EXPECT_EQ(session.run.status, 130);
            const std::string partial = session.files.path("values.csv.partial");
            const std::string values = toFile ? contentOf(partial) : session.run.out;

            std::string expected = "time,o.dear\n";
            const auto rows = std::ranges::count(values, '\n') - 1;
            for (int i = 0; i < rows; ++i) {
                const double time = i;
                expected += numberText(time) + ',' + numberText(time) + '\n';
            }
            EXPECT_GT(rows, 0);
            EXPECT_TRUE(values == expected) << values.substr(0, 200);
            EXPECT_EQ(session.run.err, interruptedAfter(rows, toFile ? " and kept in " + partial : ""));
            EXPECT_EQ(contentOf(session.files.path("values.csv")), "old");
        }
}

TEST(Interrupt, LeavesAFileThatIsNotToBeReplacedByAPart)
{
    const LongRun session("999999", {"o.dear", "-o", "values.csv"}, pressCtrlC);
    EXPECT_EQ(session.run.status, 130);
    EXPECT_THAT(
        session.run.err,
        MatchesRegex("marl: interrupted; [1-9][0-9]* of 1000000 times are finished; values.csv stays as it was\n"));
    EXPECT_EQ(session.valueFiles(), ValueFiles({{"values.csv", "old"}}));
}

// Values that take long are not waited for; where nothing is finished, nothing is kept.
TEST(Interrupt, WaitsForNoValue)
{
    const auto begin = std::chrono::steady_clock::now();
    const LongRun session("9", {"many.*", "-o", "values.csv", "--keep-partial"}, pressCtrlC);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_EQ(session.run.status, 130);
    EXPECT_EQ(session.run.err, "marl: interrupted; 0 of 10 times are finished; values.csv stays as it was\n");
    EXPECT_EQ(session.valueFiles(), ValueFiles({{"values.csv", "old"}}));
}

TEST(Signals, EndTheToolAndLeaveNoFile)
{
    const struct {
        const char* name;
        std::vector<int> sent;
        int endsBy;
        int ignored = 0;
    } rows[] = {
        {"ended", {SIGTERM}, SIGTERM},
        {"terminal closed", {SIGHUP}, SIGHUP},
        {"terminal closed under nohup", {SIGHUP, SIGTERM}, SIGTERM, SIGHUP},
        {"Ctrl-\\", {SIGQUIT}, SIGQUIT},
        {"too much time", {SIGXCPU}, SIGXCPU},
        {"warning before the end of a batch", {SIGUSR1}, SIGUSR1},
    };
    for (const auto& row : rows) {
        std::vector<std::pair<int, sighandler_t>> before;
        for (const int number : row.sent)
            before.emplace_back(number, signal(number, number == row.ignored ? SIG_IGN : SIG_DFL));
        const LongRun session("999999", {"o.dear", "--jobs", "2", "-o", "values.csv"},
                              [&](const LongRun& started, pid_t tool) {
                                  started.waitForWork();
                                  for (const int number : row.sent)
                                      kill(tool, number);
                              });
        for (const auto& [number, handler] : before)
            signal(number, handler);
        EXPECT_EQ(session.run.status, -row.endsBy) << row.name;
        EXPECT_EQ(session.valueFiles(), ValueFiles({{"values.csv", "old"}})) << row.name;
    }
}

// Whoever presses again and again does not wait for what is finished.
TEST(Signals, OfCtrlCEndTheToolAtTheThirdAtTheLatest)
{
    const LongRun session("9", {"many.*", "-o", "values.csv"}, [](const LongRun& started, pid_t tool) {
        started.waitForWork();
        for (int i = 0; i < 3; ++i) {
            kill(tool, SIGINT);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    });
    EXPECT_THAT(session.run.status, AnyOf(-SIGINT, 130));
    EXPECT_EQ(session.valueFiles(), ValueFiles({{"values.csv", "old"}}));
}

TEST(Changes, OfTheSceneEndTheRun)
{
    const LongRun session("999999", {"many.l0", "o.dear", "--jobs", "2", "-o", "values.csv"},
                          [](const LongRun& started, pid_t) {
                              started.waitForWork();
                              started.files.write("s.scene", inObject("l = float[4 5 6];"));
                          });
    EXPECT_EQ(session.run.status, 3);
    EXPECT_EQ(session.run.err, "marl: s.scene: The file has changed since it was opened; run the command again\n");
    EXPECT_EQ(session.valueFiles(), ValueFiles({{"values.csv", "old"}}));
}

} // namespace

} // namespace Marl::Host
