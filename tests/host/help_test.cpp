// The help of the tool, and the man page beside it.
#include <tests/host/scratch.h>

#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <set>

namespace Marl::Host {

namespace {

using Options = std::set<std::string>;

Options longOptionsIn(const std::string& text)
{
    static const std::regex option("--[a-z][a-z-]*");
    Options found;
    for (auto at = std::sregex_iterator(text.begin(), text.end(), option); at != std::sregex_iterator(); ++at)
        found.insert(at->str());
    return found;
}

std::string helpOf(std::vector<std::string> arguments)
{
    arguments.push_back("--help");
    const ToolRun run = runMarl(arguments, ".");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    return run.out;
}

// By command. What stands under Options belongs to the tool as a whole, which has the empty name.
std::map<std::string, Options> optionsOfHelp()
{
    const std::string whole = helpOf({});
    const std::size_t commands = whole.find("\nCommands:\n"), examples = whole.find("\nExamples:\n");
    std::map<std::string, Options> found = {{"", longOptionsIn(whole.substr(0, commands))}};
    static const std::regex line("\n  ([a-z]+) ");
    const std::string list = whole.substr(commands, examples - commands);
    for (auto at = std::sregex_iterator(list.begin(), list.end(), line); at != std::sregex_iterator(); ++at) {
        const std::string command = (*at)[1];
        found[command] = longOptionsIn(helpOf({command}));
        found[command].erase("--help");
    }
    return found;
}

std::map<std::string, Options> optionsOfManPage()
{
    std::string page = contentOf(MARL_SOURCE_DIR "/host/marl.1");
    page = std::regex_replace(page, std::regex(R"(\\-)"), "-");
    std::map<std::string, Options> found;
    static const std::regex section("\n\\.(SH OPTIONS|SS ([a-z]+))[^\n]*\n");
    for (auto at = std::sregex_iterator(page.begin(), page.end(), section); at != std::sregex_iterator(); ++at) {
        const auto begin = static_cast<std::size_t>(at->position() + at->length());
        const std::size_t end = std::min(page.find("\n.SS ", begin - 1), page.find("\n.SH ", begin - 1));
        found[(*at)[2]] = longOptionsIn(page.substr(begin, end - begin));
    }
    return found;
}

TEST(Help, SaysWhatTheManPageSays)
{
    const auto help = optionsOfHelp();
    EXPECT_GE(help.size(), 6u);
    EXPECT_THAT(help.at("eval"), ::testing::Contains("--jobs"));
    EXPECT_EQ(help, optionsOfManPage());
}

TEST(Help, HasAnExampleOfEveryCommandThatTheToolTakes)
{
    for (const auto& [command, options] : optionsOfHelp()) {
        const std::string help = helpOf(command.empty() ? std::vector<std::string>() : std::vector{command});
        EXPECT_THAT(help, ::testing::ContainsRegex("\nExamples?:\n  marl " + command));
        for (std::size_t begin = 0; begin < help.size();) {
            const std::size_t end = help.find('\n', begin);
            EXPECT_LE(end - begin, 110u) << help.substr(begin, end - begin);
            begin = end + 1;
        }
    }
}

TEST(Help, SaysTheVersion)
{
    EXPECT_THAT(runMarl({"--version"}, ".").out, ::testing::MatchesRegex("marl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

} // namespace

} // namespace Marl::Host
