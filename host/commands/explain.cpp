// marl explain: how a property comes to its value.
#include <host/commands/command.h>

#include <host/analysis/explanation.h>
#include <host/commands/limit_options.h>
#include <host/commands/prepared_scene.h>
#include <host/commands/selection.h>
#include <host/output/output.h>
#include <host/output/short_value.h>
#include <host/report/kind_text.h>
#include <host/report/number_text.h>
#include <host/report/utf8.h>
#include <host/scene/names.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <memory>

namespace Marl::Host {

namespace {

struct ExplainOptions {
    std::string file;
    std::string name;
    std::string time = "0";
    bool holdsKeys = false;
    Limits limits;
};

constexpr std::size_t textWidth = 50;
constexpr std::size_t valueWidth = 60;

struct Row {
    std::string place, text, kind, value;
    bool isMarked;
};

Row rowOf(const ExplainedPart& part, Scene& scene)
{
    constexpr std::int64_t mostBytes = 1000; // of which the text needs the first
    Row row{{}, std::string(2 * static_cast<std::size_t>(part.level), ' '), {}, part.remark, part.fails};
    if (part.place) {
        row.place = scene.file.lineColumnText(part.place->begin);
        const std::int64_t end = std::min(part.place->end, part.place->begin + mostBytes);
        row.text += shortText(scene.file.textAt({part.place->begin, end}), textWidth);
    } else {
        row.text += "...";
    }
    if (part.fails)
        row.kind = "fails";
    if (part.value) {
        row.kind = kindName(part.value->getValueType());
        row.value = shortValueText(*part.value, valueWidth);
    }
    if (const auto* reference = part.reference; reference && reference->property)
        row.value += fmt::format(
            "  from {} ({})", printable(quotedName(textOf(reference->objectName), textOf(reference->propertyName))),
            scene.file.lineColumnText(scene.placeOf(reference->property).begin));
    return row;
}

void write(const std::vector<Row>& rows, Output& output)
{
    const auto widest = [&](std::string Row::*cell) {
        std::size_t width = 0;
        for (const Row& row : rows)
            width = std::max(width, utf8Characters(row.*cell).size());
        return width;
    };
    const std::size_t place = widest(&Row::place), text = widest(&Row::text), kind = widest(&Row::kind);
    for (const Row& row : rows) {
        const std::string fill(text - utf8Characters(row.text).size(), ' ');
        output.write(fmt::format("{} {:>{}}  {}{}  {:{}}  {}\n", row.isMarked ? '>' : ' ', row.place, place, row.text,
                                 fill, row.kind, kind, row.value));
    }
}

int runExplain(const ExplainOptions& options)
{
    const Moment moment{numberOption("--time", options.time), options.holdsKeys};
    PreparedScene prepared(options.file);
    if (!prepared.isWhole())
        return SceneHasErrors;
    Scene& scene = prepared.scene;

    Output output;
    bool anyFailed = false;
    for (const SceneProperty& property : selectProperties(scene, {&options.name, 1})) {
        output.write(fmt::format("{}:{}: {} at time {}\n", scene.file.path(),
                                 scene.file.lineColumnText(scene.placeOf(property.property).begin),
                                 printable(property.name()), numberText(moment.time)));
        std::vector<Row> rows;
        for (const ExplainedPart& part : explain(scene, property, moment, options.limits)) {
            rows.push_back(rowOf(part, scene));
            anyFailed = anyFailed || part.fails;
        }
        write(rows, output);
    }
    scene.file.requireUnchanged();
    output.finish();
    return anyFailed || prepared.hasMistakes ? SceneHasErrors : Fine;
}

constexpr const char* footer =
    R"(Shows the expression as a tree: the place of each part, its text, and the kind and value that it
gives. The part that fails is marked with >. Plain numbers have no line of their own, and of keys
only those in use are shown.

Example:
  marl explain shot.scene lamp.light --time 12)";

} // namespace

void addExplainCommand(CLI::App& app, int& status)
{
    CLI::App* command = app.add_subcommand("explain", "Show how a property comes to its value");
    const auto options = std::make_shared<ExplainOptions>();
    command->add_option("FILE", options->file, "The scene")->required()->type_name("");
    command->add_option("PROPERTY", options->name, "What to explain")->required()->type_name("");
    command->add_option("--time", options->time, "The time, 0 unless given")->type_name("TIME");
    command->add_flag("--hold", options->holdsKeys, "Hold the earlier key's value instead of blending");
    addLimitOptions(*command, options->limits);
    command->footer(footer);
    command->callback([options, &status] { status = runExplain(*options); });
}

} // namespace Marl::Host
