#include <host/commands/tool.h>

#include <host/commands/command.h>
#include <host/output/temporary_file.h>
#include <host/report/did_you_mean.h>

#include <marl/version.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <new>
#include <span>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace Marl::Host {

namespace {

// A program that was started with a closed standard stream must not take a file for it.
void occupyStandardStreams()
{
    for (int stream = 0; stream <= 2; ++stream)
        if (fcntl(stream, F_GETFD) < 0)
            open("/dev/null", O_RDONLY); // takes the lowest number that is free; writing to it fails
}

// A mapped scene file that becomes shorter while it is read ends in this signal.
extern "C" void reportTruncatedFile(int)
{
    constexpr char message[] = "marl: the file has become shorter while it was read\n";
    [[maybe_unused]] const ssize_t written = write(2, message, sizeof message - 1);
    _exit(FileFailed);
}

constexpr const char* footer = R"(Examples:
  marl eval road.scene --from 0 --to 10 --step 5
  marl check shot.scene
  marl explain shot.scene lamp.light --time 12

`marl COMMAND --help` tells more of each. The exit status is 0 when all is fine, 1 when a scene has
errors, 2 for wrong usage, 3 when a file cannot be read or written or gnuplot fails, 130 after Ctrl-C.)";

// Shows what an option takes by one word; the sentence behind it says the rest.
class HelpLayout final : public CLI::Formatter {
public:
    HelpLayout()
    {
        label("SUBCOMMAND", "COMMAND");
        label("Positionals", "Arguments");
    }

    std::string make_option_opts(const CLI::Option* option) const override
    {
        const std::string type = option->get_type_name();
        const std::string word = type.substr(0, type.find(':')); // behind it stand the values it may have
        return word.empty() ? "" : ' ' + word;
    }
};

// What stands where a command should, or nothing.
std::string_view strayCommand(const CLI::App& app, std::span<char*> arguments)
{
    const auto isWord = [](std::string_view argument) { return !argument.starts_with('-'); };
    const auto word = std::ranges::find_if(arguments, isWord);
    return app.get_subcommands().empty() && word != arguments.end() ? *word : std::string_view();
}

std::string noCommand(const CLI::App& app, std::string_view word)
{
    std::vector<std::string_view> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    const std::string suggestion = didYouMean(word, names);
    return fmt::format("there is no command `{}`. {}", word,
                       suggestion.empty() ? "`marl --help` shows the commands." : suggestion);
}

int fail(ExitStatus status, std::string_view message)
{
    printError(fmt::format("marl: {}\n", message));
    return status;
}

} // namespace

int runTool(int count, char** arguments)
{
    occupyStandardStreams();
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe is a failed write
    std::signal(SIGBUS, reportTruncatedFile);
    removeTemporaryFileOnSignals();

    CLI::App app("Computes the values of a scene's expressions.", "marl");
    int status = Fine;
    try {
        app.formatter(std::make_shared<HelpLayout>());
        app.set_help_flag("-h,--help", "Show this help");
        app.set_version_flag("--version", "marl " MARL_VERSION_TEXT, "Show the version");
        app.require_subcommand(0, 1); // where there is none, the message is below
        app.footer(footer);
        addEvalCommand(app, status);
        addCheckCommand(app, status);
        addDepsCommand(app, status);
        addExplainCommand(app, status);
        addPlotCommand(app, status);
        addFunctionsCommand(app, status);
        for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
            command->group("Commands");
        app.parse(count, arguments);
        if (app.get_subcommands().empty())
            return fail(WrongUsage, "what is to be done? `marl --help` shows the commands");
        return status;
    } catch (const CLI::ParseError& asked) {
        const std::string_view stray = strayCommand(app, {arguments + 1, arguments + std::max(count, 1)});
        if (asked.get_exit_code() != 0 && !stray.empty())
            return fail(WrongUsage, noCommand(app, stray));
        return app.exit(asked) == 0 ? Fine : WrongUsage;
    } catch (const UsageError& wrong) {
        return fail(WrongUsage, wrong.what());
    } catch (const FileError& failed) {
        return fail(FileFailed, failed.what());
    } catch (const std::bad_alloc&) {
        return fail(FileFailed, "there is not enough memory for this scene");
    } catch (const std::exception& unexpected) {
        return fail(FileFailed, unexpected.what());
    }
}

} // namespace Marl::Host
