// marl eval: the values of properties over a range of times.
#include <host/commands/command.h>

#include <host/analysis/evaluation.h>
#include <host/commands/selection.h>
#include <host/commands/times.h>
#include <host/output/formats.h>
#include <host/output/json_text.h>

#include <fmt/format.h>

#include <memory>

namespace Marl::Host {

namespace {

struct Format {
    std::string_view name;
    std::string (*text)(const Value&); // of a value that is no record
    void (*write)(Output&, const Times&, std::span<const Track>);
};

constexpr Format formats[] = {
    {"table", cellText, writeTable},
    {"csv", cellText, writeCsv},
    {"json", jsonValue, writeJson},
};

struct EvalOptions {
    std::string file;
    std::vector<std::string> names;
    TimeOptions times;
    bool holdsKeys = false;
    std::string format = "table";
    std::string output;
};

// Evaluates property by property and reports what fails.
class Evaluation {
public:
    Evaluation(Scene& given, const Resolution& prepared) : scene(given), resolution(prepared) {}

    Track trackOf(const SceneProperty& property, const Times& times, bool holdsKeys, const Format& format)
    {
        Track track(property.name(), format.text);
        std::size_t failures = 0;
        for (std::size_t i = 0; i < times.count; ++i) {
            const Moment moment{times[i], holdsKeys};
            try {
                track.add(evaluate(property, moment));
            } catch (const Exception& thrown) {
                track.addMissing();
                if (failures++ == 0)
                    report(property, moment, thrown);
            }
        }
        if (failures > 1)
            printError(fmt::format("{}: {} fails at {} of {} times; the first is shown above\n", scene.file.path(),
                property.name(), failures, times.count));
        anyFailed = anyFailed || failures > 0;
        return track;
    }

    bool anyFailed = false;

private:
    // What a missing name or a circle of references leads to is no news.
    void report(const SceneProperty& property, const Moment& moment, const Exception& thrown)
    {
        const Failure failure = findFailure(scene, property, moment, thrown);
        const auto* reference = dynamic_cast<PropertyReferenceAST*>(failure.innermost);
        const bool isKnown = reference && (resolution.unbound.contains(reference) || resolution.inCircle.contains(failure.in));
        if (isKnown)
            printError(fmt::format("{}: {} is left out: it needs what the message above is about\n", scene.file.path(), property.name()));
        else
            printError(describe(failure.diagnostic, scene.file));
    }

    Scene& scene;
    const Resolution& resolution;
};

int runEval(const EvalOptions& options)
{
    const Times times = parseTimes(options.times);
    const Format& format = *std::ranges::find(formats, options.format, &Format::name);

    Scene scene(options.file);
    const Resolution resolution = resolve(scene);
    std::vector<Diagnostic> mistakes = scene.reading.mistakes;
    mistakes.insert(mistakes.end(), resolution.mistakes.begin(), resolution.mistakes.end());
    sortByPlace(mistakes);
    for (const Diagnostic& mistake : mistakes)
        printError(describe(mistake, scene.file));
    if (!scene.reading.mistakes.empty())
        return SceneHasErrors;

    const std::vector<SceneProperty> selected = selectProperties(scene, options.names);
    requireSensibleWork(times, selected.size());
    // Opened before the work is done, which may be long.
    const auto output = options.output.empty() ? std::make_unique<Output>() : std::make_unique<Output>(options.output);
    Evaluation evaluation(scene, resolution);
    std::vector<Track> tracks;
    for (const SceneProperty& property : selected)
        tracks.push_back(evaluation.trackOf(property, times, options.holdsKeys, format));
    format.write(*output, times, tracks);
    output->finish();
    return evaluation.anyFailed || !mistakes.empty() ? SceneHasErrors : Fine;
}

constexpr const char* footer = R"(Properties are named object.property, or object.* for all of an object; without a
name all are shown. Names that are no plain words stand in back-quotes.

Examples:
  marl eval road.scene
  marl eval shot.scene rig.pos lamp.* --from 0 --to 48 --step 0.5
  marl eval shot.scene lamp.power --time 12 --format json -o power.json)";

} // namespace

void addEvalCommand(CLI::App& app, int& status)
{
    CLI::App* command = app.add_subcommand("eval", "Show the values of properties at one or many times");
    const auto options = std::make_shared<EvalOptions>();
    command->add_option("FILE", options->file, "The scene")->required()->type_name("");
    command->add_option("PROPERTY", options->names, "What to evaluate")->type_name("");
    addTimeOptions(*command, options->times);
    command->add_flag("--hold", options->holdsKeys, "Hold the earlier key's value instead of blending");
    command->add_option("--format", options->format, "table, csv or json")
        ->check(CLI::IsMember({"table", "csv", "json"}))
        ->type_name("");
    command->add_option("-o,--output", options->output, "Write to this file; it is replaced only when all is written")
        ->type_name("FILE");
    command->footer(footer);
    command->callback([options, &status] { status = runEval(*options); });
}

} // namespace Marl::Host
