// marl plot: properties over time as curves.
#include <host/commands/command.h>

#include <host/analysis/children.h>
#include <host/commands/limit_options.h>
#include <host/commands/prepared_scene.h>
#include <host/commands/sampling.h>
#include <host/commands/selection.h>
#include <host/output/components.h>
#include <host/output/curves.h>
#include <host/output/gnuplot.h>
#include <host/output/output.h>
#include <host/report/kind_text.h>
#include <host/report/number_text.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Marl::Host {

namespace {

struct PlotOptions {
    std::string file;
    std::vector<std::string> names;
    std::string from, to;
    int samples = 200;
    std::string output;
    Limits limits;
};

struct Range {
    double from, to;
};

Range rangeOf(const PlotOptions& options)
{
    const Range range{numberOption("--from", options.from), numberOption("--to", options.to)};
    if (!(range.from < range.to) || !std::isfinite(range.to - range.from))
        throw UsageError(fmt::format("--to: {} is not behind {}, where the curve begins", options.to, options.from));
    return range;
}

Picture pictureFor(const std::string& output)
{
    if (output.ends_with(".svg"))
        return svgPicture();
    if (output.ends_with(".png"))
        return pngPicture();
    if (!output.empty())
        throw UsageError("-o: the name of a picture ends in .svg or .png");
    winsize terminal = {};
    if (ioctl(1, TIOCGWINSZ, &terminal) != 0 || terminal.ws_col == 0)
        return textPicture(80, 24);
    // The last line is for the prompt.
    return textPicture(std::max<int>(terminal.ws_col, 40), std::max(terminal.ws_row - 1, 12));
}

// Between the ends, in order. Key times that follow from `time` are not known.
std::vector<double> keyTimes(const SceneProperty& property, const Range& range)
{
    std::vector<double> found;
    walk(property.property->expression, [&](ExpressionAST* node) {
        if (const auto* interpolation = dynamic_cast<InterpolateExpressionAST*>(node))
            std::ranges::copy_if(interpolation->constantTimes().times, std::back_inserter(found),
                                 [&](double time) { return time >= range.from && time <= range.to; });
    });
    std::ranges::sort(found);
    return found;
}

// The times at which the curve is known: evenly spread, and the keys.
std::vector<double> curveTimes(const Range& range, int samples, const std::vector<double>& keys)
{
    std::vector<double> times = keys;
    for (int i = 0; i < samples; ++i)
        times.push_back(std::lerp(range.from, range.to, i / (samples - 1.0)));
    std::ranges::sort(times);
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

// A curve a component, without those that have no point.
std::vector<Curve> curvesOf(const Track& track)
{
    std::vector<Curve> curves;
    const auto curveOf = [&](const std::string& name) -> Curve& {
        const auto known = std::ranges::find(curves, name, &Curve::name);
        if (known != curves.end())
            return *known;
        return curves.emplace_back(Curve{name, std::vector(track.size(), std::numeric_limits<double>::quiet_NaN())});
    };
    for (std::size_t i = 0; i < track.size(); ++i) {
        const auto components = componentsOf(track.kindAt(i));
        for (std::size_t c = 0; c < components.size(); ++c)
            curveOf(track.name + std::string(components[c].suffix)).values[i] = track.numbersAt(i)[c];
    }
    std::erase_if(curves, [](const Curve& curve) {
        return std::ranges::none_of(curve.values, [](double value) { return std::isfinite(value); });
    });
    return curves;
}

void mentionWhatHasNoCurve(const Scene& scene, const Track& track, const std::vector<double>& times)
{
    for (std::size_t i = 0; i < track.size(); ++i) {
        const int kind = track.kindAt(i);
        if (kind == Track::missing || !componentsOf(kind).empty())
            continue;
        printError(fmt::format("{}: {} is {} at time {}, which has no curve\n", scene.file.path(), track.name,
                               kindWithArticle(kind), numberText(times[i])));
        return;
    }
}

// gnuplot begins with a form feed and fills lines, and whole lines, with blanks.
std::string withoutBlanks(const std::string& picture)
{
    std::string kept;
    for (std::size_t begin = 0; begin < picture.size();) {
        const std::size_t end = std::min(picture.find('\n', begin), picture.size());
        const std::string line = picture.substr(begin, end - begin);
        if (const auto last = line.find_last_not_of(" \f"); last != std::string::npos)
            kept += line.substr(0, last + 1) + '\n';
        begin = end + 1;
    }
    return kept;
}

int runPlot(const PlotOptions& options)
{
    const Range range = rangeOf(options);
    const Picture picture = pictureFor(options.output);
    PreparedScene prepared(options.file);
    if (!prepared.isWhole())
        return SceneHasErrors;
    Scene& scene = prepared.scene;
    requireOtherFile(scene.file, options.output);
    const std::vector<SceneProperty> selected = selectProperties(scene, options.names);

    bool anyFailed = prepared.hasMistakes;
    std::vector<CurveGroup> groups;
    for (const SceneProperty& property : selected) {
        const std::vector<double> keys = keyTimes(property, range);
        CurveGroup group{curveTimes(range, options.samples, keys), {}, {}};
        for (const double time : group.times)
            group.isKey.push_back(std::ranges::binary_search(keys, time));

        Sampling sampling({&property, 1}, group.times, false, options.limits,
                          [](const Value&) { return std::string(); });
        sampling.run(1);
        reportFailures(scene, prepared.resolution, property, sampling.failures[0], group.times.size());
        anyFailed = anyFailed || sampling.failures[0].count > 0;
        mentionWhatHasNoCurve(scene, sampling.tracks[0], group.times);
        group.curves = curvesOf(sampling.tracks[0]);
        if (!group.curves.empty())
            groups.push_back(group);
    }
    if (groups.empty()) {
        printError("marl: there is nothing to draw\n");
        return anyFailed ? SceneHasErrors : WrongUsage;
    }
    const std::string drawn = runGnuplot(gnuplotScript(groups, range.from, range.to, picture));
    scene.file.requireUnchanged();
    const auto output =
        options.output.empty() ? std::make_unique<Output>() : std::make_unique<Output>(options.output);
    output->write(options.output.empty() ? withoutBlanks(drawn) : drawn);
    output->finish();
    return anyFailed ? SceneHasErrors : Fine;
}

constexpr const char* footer =
    R"(Draws in the terminal, or a picture with -o. Vectors and colors have one curve a component; the keys
of a property are marked. Where it fails the curve has a gap. gnuplot has to be installed.

Examples:
  marl plot shot.scene lamp.power --from 0 --to 48
  marl plot shot.scene rig.pos --from 0 --to 48 --samples 1000 -o pos.svg)";

} // namespace

void addPlotCommand(CLI::App& app, int& status)
{
    CLI::App* command = app.add_subcommand("plot", "Draw properties over time as curves");
    const auto options = std::make_shared<PlotOptions>();
    command->add_option("FILE", options->file, "The scene")->required()->type_name("");
    command->add_option("PROPERTY", options->names, "What to draw")->required()->type_name("");
    command->add_option("--from", options->from, "The first time")->required()->type_name("TIME");
    command->add_option("--to", options->to, "The last time")->required()->type_name("TIME");
    command->add_option("--samples", options->samples, "How many times besides the keys; 200 unless given")
        ->check(CLI::Range(2, 1'000'000))
        ->type_name("COUNT");
    command
        ->add_option("-o,--output", options->output,
                     "Write a picture to this .svg or .png; it is replaced only by a whole one")
        ->type_name("FILE");
    addLimitOptions(*command, options->limits);
    command->footer(footer);
    command->callback([options, &status] { status = runPlot(*options); });
}

} // namespace Marl::Host
