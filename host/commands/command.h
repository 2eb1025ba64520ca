// What the commands of the tool have in common.
#pragma once

#include <host/scene/scene_file.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace Marl::Host {

enum ExitStatus { Fine = 0, SceneHasErrors = 1, WrongUsage = 2, FileFailed = 3, Interrupted = 130 };

// A command line that asks for what there is not. The message is one line.
class UsageError : public std::runtime_error {
public:
    using runtime_error::runtime_error;
};

// Each adds its command; when it is the one that is asked for, it runs and leaves its exit status.
// It may throw UsageError and FileError.
void addEvalCommand(CLI::App& app, int& status);
void addCheckCommand(CLI::App& app, int& status);
void addDepsCommand(CLI::App& app, int& status);
void addExplainCommand(CLI::App& app, int& status);
void addPlotCommand(CLI::App& app, int& status);
void addFunctionsCommand(CLI::App& app, int& status);

// A number as scenes write it, of the option of that name. Throws UsageError.
double numberOption(std::string_view option, std::string_view text);

// Throws UsageError where the output would take the place of the scene that it comes from.
void requireOtherFile(const SceneFile& scene, const std::string& output);

// To standard error. Nothing is to be done where that fails.
void printError(std::string_view text);

} // namespace Marl::Host
