// marl check: all mistakes of scenes at once.
#include <host/commands/command.h>

#include <host/analysis/check.h>
#include <host/output/json_text.h>
#include <host/output/output.h>
#include <host/scene/description.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <memory>

namespace Marl::Host {

namespace {

struct CheckOptions {
    std::vector<std::string> files;
    std::string format = "text";
    bool warningsAreErrors = false;
};

std::string counted(std::size_t count, std::string_view one, std::string_view many)
{
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string summary(const Scene& scene, std::size_t errors, std::size_t warnings)
{
    std::vector<std::string> parts;
    if (errors > 0)
        parts.push_back(counted(errors, "error", "errors"));
    if (warnings > 0)
        parts.push_back(counted(warnings, "warning", "warnings"));
    if (parts.empty())
        parts = {counted(scene.properties.size(), "property", "properties"), "no mistakes"};
    return fmt::format("{}: {}\n", scene.file.path(), fmt::join(parts, ", "));
}

std::string jsonOf(const Diagnostic& diagnostic, SceneFile& file)
{
    const auto [line, column] = file.lineColumn(diagnostic.place.begin);
    return fmt::format(R"({{"file": {}, "line": {}, "column": {}, "severity": "{}", "message": {}, "hint": {}}})",
                       jsonText(file.path()), line, column, severityName(diagnostic.severity),
                       jsonText(diagnostic.text), diagnostic.hint.empty() ? "null" : jsonText(diagnostic.hint));
}

class Report {
public:
    Report(Output& to, const CheckOptions& given) : output(to), options(given), isJson(given.format == "json") {}

    void add(const std::string& path)
    try {
        Scene scene(path);
        const std::vector<Diagnostic> found = checkScene(scene);
        for (const Diagnostic& diagnostic : found) {
            if (isJson)
                output.write((isFirst ? "[\n  " : ",\n  ") + jsonOf(diagnostic, scene.file));
            else
                output.write(describe(diagnostic, scene.file));
            isFirst = false;
        }
        const auto errors =
            static_cast<std::size_t>(std::ranges::count(found, Severity::Error, &Diagnostic::severity));
        const std::size_t warnings = found.size() - errors;
        scene.file.requireUnchanged();
        if (!isJson)
            output.write(summary(scene, errors, warnings));
        if (errors > 0 || (options.warningsAreErrors && warnings > 0))
            status = std::max(status, SceneHasErrors);
    } catch (const FileError& unreadable) {
        printError(fmt::format("marl: {}\n", unreadable.what()));
        status = FileFailed;
    }

    ExitStatus finish()
    {
        if (isJson)
            output.write(isFirst ? "[]\n" : "\n]\n");
        output.finish();
        return status;
    }

private:
    Output& output;
    const CheckOptions& options;
    const bool isJson;
    bool isFirst = true;
    ExitStatus status = Fine;
};

int runCheck(const CheckOptions& options)
{
    Output output;
    Report report(output, options);
    for (const std::string& file : options.files)
        report.add(file);
    return report.finish();
}

constexpr const char* footer =
    R"(Every mistake of a scene is shown at once, in the order of the file. The exit status is 1 when
there are errors, or warnings with --werror.

Examples:
  marl check shot.scene
  marl check --format json --werror shots/*.scene)";

} // namespace

void addCheckCommand(CLI::App& app, int& status)
{
    CLI::App* command = app.add_subcommand("check", "Show all mistakes of scenes");
    const auto options = std::make_shared<CheckOptions>();
    command->add_option("FILE", options->files, "The scenes")->required()->type_name("");
    command->add_option("--format", options->format, "text, or json for editors; text unless given")
        ->check(CLI::IsMember({"text", "json"}))
        ->type_name("FORMAT");
    command->add_flag("--werror", options->warningsAreErrors, "Let warnings fail, too");
    command->footer(footer);
    command->callback([options, &status] { status = runCheck(*options); });
}

} // namespace Marl::Host
