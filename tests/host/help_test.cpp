// The help of the tool, and the man page beside it.
#include <tests/host/scratch.h>

#include <host/functions/functions.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <set>

namespace Marl::Host {

namespace {

std::string helpOf(std::vector<std::string> arguments)
{
    arguments.push_back("--help");
    const ToolRun run = runMarl(arguments, ".");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    return run.out;
}

std::set<std::string> allIn(const std::string& text, const char* pattern)
{
    const std::regex regex(pattern);
    std::set<std::string> found;
    for (auto at = std::sregex_iterator(text.begin(), text.end(), regex); at != std::sregex_iterator(); ++at)
        found.insert((*at)[1]);
    return found;
}

// The help of the tool as a whole has the empty name.
std::map<std::string, std::string> helpOfAllCommands()
{
    const std::string whole = helpOf({});
    std::map<std::string, std::string> helps = {{"", whole}};
    const std::size_t commands = whole.find("\nCommands:\n"), examples = whole.find("\nExamples:\n");
    for (const std::string& command : allIn(whole.substr(commands, examples - commands), "\n  ([a-z]+) "))
        helps[command] = helpOf({command});
    EXPECT_GE(helps.size(), 6u);
    return helps;
}

TEST(Help, SaysWhatTheManPageSays)
{
    std::string all;
    for (const auto& [command, help] : helpOfAllCommands())
        all += help;
    const std::string page = std::regex_replace(contentOf(MARL_SOURCE_DIR "/host/marl.1"), std::regex(R"(\\-)"), "-");
    const char* option = "(--[a-z][a-z-]*)";
    EXPECT_THAT(allIn(all, option), ::testing::Contains("--jobs"));
    EXPECT_EQ(allIn(all, option), allIn(page, option));
}

TEST(Help, HasAnExampleOfEveryCommandThatTheToolTakes)
{
    for (const auto& [command, help] : helpOfAllCommands()) {
        EXPECT_THAT(help, ::testing::ContainsRegex("\nExamples?:\n  marl " + command));
        EXPECT_THAT(help, ::testing::Not(::testing::ContainsRegex("[^\n]{111}"))) << "a line is too long";
    }
}

// Word by word, and no function that there is not.
TEST(Help, ShowsTheFunctionsThatTheDocumentHas)
{
    std::string rows;
    for (const Function& function : allFunctions())
        rows += fmt::format("| `{}` | {} | {} | {} |\n", function.callText(), function.takesText(),
                            function.givesText(), function.sentence);
    const std::string head = "| Function | Takes | Gives | |\n|---|---|---|---|\n";
    EXPECT_THAT(contentOf(MARL_SOURCE_DIR "/docs/arithmetic.md"), ::testing::HasSubstr(head + rows + '\n'));
}

TEST(Help, SaysTheVersion)
{
    EXPECT_THAT(runMarl({"--version"}, ".").out, ::testing::MatchesRegex("marl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

} // namespace

} // namespace Marl::Host
