// marl eval: the values of properties over a range of times.
#include <host/commands/command.h>

#include <host/commands/interrupt.h>
#include <host/commands/limit_options.h>
#include <host/commands/prepared_scene.h>
#include <host/commands/sampling.h>
#include <host/commands/selection.h>
#include <host/commands/times.h>
#include <host/output/formats.h>
#include <host/output/json_text.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
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
    Limits limits;
    std::string format = "table";
    std::string output;
    bool keepsPartial = false;
    int jobs = 1;
};

std::vector<double> listed(const Times& times)
{
    std::vector<double> list(times.count);
    for (std::size_t i = 0; i < times.count; ++i)
        list[i] = times[i];
    return list;
}

// Threads may still be at work on the scene, so it is not given back.
[[noreturn]] void endInterrupted(std::size_t finished, std::size_t all, std::string_view remark)
{
    printError(fmt::format("marl: interrupted; {} of {} times are finished{}\n", finished, all, remark));
    std::_Exit(Interrupted);
}

int runEval(const EvalOptions& options)
{
    Times times = parseTimes(options.times);
    const Format& format = *std::ranges::find(formats, options.format, &Format::name);

    PreparedScene prepared(options.file);
    if (!prepared.isWhole())
        return SceneHasErrors;
    Scene& scene = prepared.scene;
    requireOtherFile(scene.file, options.output);
    const std::vector<SceneProperty> selected = selectProperties(scene, options.names);
    requireSensibleWork(times, selected.size());

    const InterruptWatch watch;
    // Opened before the work is done, which may be long.
    auto output = options.output.empty() ? std::make_unique<Output>() : std::make_unique<Output>(options.output);
    if (options.keepsPartial)
        requireOtherFile(scene.file, output->partialName());
    const std::vector<double> moments = listed(times);
    Sampling sampling(selected, moments, options.holdsKeys, options.limits, format.text);
    sampling.run(options.jobs);
    times.count = sampling.finished;
    bool anyFailed = prepared.hasMistakes;
    for (std::size_t i = 0; i < selected.size(); ++i) {
        reportFailures(scene, prepared.resolution, selected[i], sampling.failures[i], times.count);
        anyFailed = anyFailed || sampling.failures[i].count > 0;
    }
    if (!watch.isInterrupted()) // else threads may be at work, for which a failure would have to wait
        scene.file.requireUnchanged();
    const bool isPartial = times.count < moments.size();
    bool isWritten = !isPartial || times.count > 0;
    std::string remark;
    if (isPartial && output->replacesFile()) {
        isWritten = isWritten && options.keepsPartial;
        remark = isWritten ? " and kept in " + output->becomePartial() : "; " + options.output + " stays as it was";
    }
    if (isWritten) {
        format.write(*output, times, sampling.tracks);
        output->finish();
    }
    if (watch.isInterrupted()) {
        output.reset(); // with the temporary file where nothing is kept
        endInterrupted(times.count, moments.size(), remark);
    }
    return anyFailed ? SceneHasErrors : Fine;
}

constexpr const char* footer = R"(Properties are named object.property, or object.* for all of an object; without a
name all are shown. Names that are no plain words stand in back-quotes.

Ctrl-C ends the work early, with exit status 130. The times that are finished are printed; the file
of -o stays as it was, and with --keep-partial they are kept in FILE.partial beside it.

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
    command->add_option("--format", options->format, "table, csv or json; table unless given")
        ->check(CLI::IsMember({"table", "csv", "json"}))
        ->type_name("FORMAT");
    CLI::Option* output =
        command->add_option("-o,--output", options->output, "Write to this file; only a whole result replaces it")
            ->type_name("FILE");
    command->add_flag("--keep-partial", options->keepsPartial, "After Ctrl-C keep what is finished in FILE.partial")
        ->needs(output);
    command->add_option("--jobs", options->jobs, "So many threads, 1 unless given; the results are the same")
        ->check(CLI::Range(1, 256))
        ->type_name("N");
    addLimitOptions(*command, options->limits);
    command->footer(footer);
    command->callback([options, &status] { status = runEval(*options); });
}

} // namespace Marl::Host
