// marl eval over many times: threads, and Ctrl-C.
#include <tests/host/scratch.h>

#include <gmock/gmock.h>

#include <charconv>
#include <chrono>
#include <csignal>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

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

// Threads have as much room for nesting as the program itself.
TEST(Jobs, GoAsDeepAsOne)
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

struct Interrupted {
    int status; // of exit, or minus the signal
    std::string out, err;
};

// Presses Ctrl-C after a second.
Interrupted interrupted(const ScratchFolder& files, const std::vector<std::string>& more)
{
    std::vector<std::string> words = {"marl",   "eval",   "s.scene", "--from",   "0",  "--to",
                                      "999999", "--step", "1",       "--format", "csv"};
    words.insert(words.end(), more.begin(), more.end());
    const pid_t child = fork();
    if (child == 0) {
        std::vector<char*> pointers;
        for (std::string& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
        if (chdir(files.folder.c_str()) == 0 && freopen("out", "w", stdout) && freopen("err", "w", stderr))
            execv(MARL_TOOL, pointers.data());
        _exit(127);
    }
    std::this_thread::sleep_for(std::chrono::seconds(1));
    kill(child, SIGINT);
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), contentOf(files.path("out")),
            contentOf(files.path("err"))};
}

// The properties double their work: a value of o.x12 takes some hundredth of a millisecond, one of o.x60
// years.
const std::string& doubling()
{
    static const std::string text = [] {
        std::string statements = "x0 = time;";
        for (int i = 1; i <= 60; ++i) {
            const std::string before = ".x" + std::to_string(i - 1);
            statements += " x" + std::to_string(i) + " = " + before + " + " + before + ';';
        }
        return inObject(statements);
    }();
    return text;
}

std::string shortest(long number)
{
    char text[32];
    return {text, std::to_chars(text, std::end(text), static_cast<double>(number)).ptr};
}

TEST(Interrupt, KeepsTheTimesThatAreFinished)
{
    for (const char* jobs : {"1", "2"})
        for (const bool toFile : {false, true}) {
            const ScratchFolder files;
            files.write("s.scene", doubling());
            files.write("values.csv", "old");
            std::vector<std::string> arguments = {"o.x12", "o.x0", "--jobs", jobs};
            if (toFile)
                arguments.insert(arguments.end(), {"-o", "values.csv"});
            const Interrupted run = interrupted(files, arguments);
            EXPECT_EQ(run.status, 130);
            const std::string values = toFile ? contentOf(files.path("values.csv")) : run.out;

            std::string expected = "time,o.x12,o.x0\n";
            long rows = std::ranges::count(values, '\n') - 1;
            for (long i = 0; i < rows; ++i)
                expected += shortest(i) + ',' + shortest(4096 * i) + ',' + shortest(i) + '\n';
            EXPECT_GT(rows, 0);
            EXPECT_TRUE(values == expected) << values.substr(0, 200);
            EXPECT_EQ(run.err, "marl: interrupted; " + std::to_string(rows) + " of 1000000 times are finished\n");
        }
}

// A value that takes years is not waited for; where nothing is finished, the old file stays.
TEST(Interrupt, WaitsForNoValue)
{
    const ScratchFolder files;
    files.write("s.scene", doubling());
    files.write("values.csv", "old");
    const auto begin = std::chrono::steady_clock::now();
    const Interrupted run = interrupted(files, {"o.x60", "-o", "values.csv"});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_EQ(run.status, 130);
    EXPECT_EQ(run.err, "marl: interrupted; 0 of 1000000 times are finished\n");
    EXPECT_EQ(contentOf(files.path("values.csv")), "old");
    for (const auto& file : std::filesystem::directory_iterator(files.folder))
        EXPECT_THAT(file.path().filename().string(), ::testing::AnyOf("s.scene", "values.csv", "out", "err"));
}

} // namespace

} // namespace Marl::Host
