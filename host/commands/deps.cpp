// marl deps: what properties use, and what uses them.
#include <host/commands/command.h>

#include <host/analysis/reference_graph.h>
#include <host/commands/prepared_scene.h>
#include <host/commands/selection.h>
#include <host/output/output.h>
#include <host/report/utf8.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>
#include <numeric>

namespace Marl::Host {

namespace {

using Index = std::size_t;
using Neighbors = ReferenceGraph::Neighbors;

struct DepsOptions {
    std::string file;
    std::vector<std::string> names;
    bool asTree = false;
    bool asDot = false;
    bool unused = false;
};

class Listing {
public:
    Listing(Scene& given, const ReferenceGraph& references, Output& to) : scene(given), graph(references), output(to)
    {}

    void heading(Index property) { output.write(label(property) + '\n'); }

    void neighbors(Index property)
    {
        heading(property);
        for (const Direction* direction : {&uses, &users})
            for (const Index next : direction->neighbors[property])
                line(*direction, 1, next, "");
    }

    void trees(Index property)
    {
        heading(property);
        for (Direction* direction : {&uses, &users})
            tree(*direction, property, 1);
        continueTrees();
    }

    // What nobody uses has all others below it, but for circles that nothing leads into.
    void forest()
    {
        for (const bool isTop : {true, false})
            for (Index i = 0; i < graph.users.size(); ++i)
                if (graph.users[i].empty() == isTop && !uses.isShown[i]) {
                    heading(i);
                    tree(uses, i, 1);
                    continueTrees();
                }
    }

private:
    struct Direction {
        const char* word;
        const std::vector<Neighbors>& neighbors;
        std::vector<bool> isShown = std::vector<bool>(neighbors.size()); // with all below it
        std::vector<Index> continued = {};
    };

    // Trees are cut at this depth and continued from the margin.
    static constexpr int deepest = 30;

    // Every property is taken apart once, so that neither circles nor common parts multiply.
    void tree(Direction& direction, Index property, int level)
    {
        direction.isShown[property] = true;
        for (const Index next : direction.neighbors[property]) {
            const bool isLeaf = direction.neighbors[next].empty();
            if (!isLeaf && direction.isShown[next]) {
                line(direction, level, next, ", see above");
            } else if (!isLeaf && level == deepest) {
                line(direction, level, next, ", continued below");
                direction.continued.push_back(next);
            } else {
                line(direction, level, next, "");
                tree(direction, next, level + 1);
            }
        }
    }

    void continueTrees()
    {
        for (Direction* direction : {&uses, &users}) {
            for (std::size_t i = 0; i < direction->continued.size(); ++i) // grows meanwhile
                if (const Index property = direction->continued[i]; !direction->isShown[property]) {
                    heading(property);
                    tree(*direction, property, 1);
                }
            direction->continued.clear();
        }
    }

    void line(const Direction& direction, int level, Index property, std::string_view remark)
    {
        output.write(fmt::format("{:{}}{} {}{}\n", "", 2 * level, direction.word, label(property), remark));
    }

    // `lamp.power (4:5)`, made once: finding the line takes its time.
    const std::string& label(Index property)
    {
        std::string& text = labels[property];
        if (text.empty()) {
            const SceneProperty& named = scene.properties[property];
            text = fmt::format("{} ({})", printable(named.name()),
                               scene.file.lineColumnText(scene.placeOf(named.property).begin));
        }
        return text;
    }

    Scene& scene;
    const ReferenceGraph& graph;
    Output& output;
    Direction uses = {"uses", graph.uses};
    Direction users = {"used by", graph.users};
    std::vector<std::string> labels = std::vector<std::string>(graph.uses.size());
};

// A text of Graphviz. Backslashes and ampersands begin escapes in labels.
std::string dotText(std::string_view name)
{
    std::string text = "\"";
    for (const char c : name) {
        if (c == '"' || c == '\\')
            text += '\\';
        text += c == '&' ? std::string("&amp;") : std::string(1, c);
    }
    return text + '"';
}

// What the selected properties lead to, themselves included.
void addReached(const std::vector<Neighbors>& neighbors, const std::vector<Index>& selected,
                std::vector<bool>& isReached)
{
    std::vector<bool> isSeen(neighbors.size());
    std::vector<Index> waiting = selected;
    while (!waiting.empty()) {
        const Index property = waiting.back();
        waiting.pop_back();
        if (isSeen[property])
            continue;
        isSeen[property] = true;
        isReached[property] = true;
        waiting.insert(waiting.end(), neighbors[property].begin(), neighbors[property].end());
    }
}

void writeDot(const Scene& scene, const ReferenceGraph& graph, const std::vector<Index>& selected, Output& output)
{
    std::vector<bool> isShown(scene.properties.size());
    addReached(graph.uses, selected, isShown);
    addReached(graph.users, selected, isShown);
    output.write(fmt::format("digraph {} {{\n    rankdir=LR;\n    node [shape=box];\n", dotText(scene.file.path())));
    for (Index i = 0; i < isShown.size(); ++i) {
        if (!isShown[i])
            continue;
        const std::string name = dotText(scene.properties[i].name());
        output.write(fmt::format("    {};\n", name));
        for (const Index used : graph.uses[i])
            if (isShown[used])
                output.write(fmt::format("    {} -> {};\n", name, dotText(scene.properties[used].name())));
    }
    output.write("}\n");
}

std::vector<Index> selectedIn(Scene& scene, const ReferenceGraph& graph, const std::vector<std::string>& names)
{
    std::vector<Index> selected;
    if (names.empty()) {
        selected.resize(scene.properties.size());
        std::iota(selected.begin(), selected.end(), Index(0));
        return selected;
    }
    for (const SceneProperty& property : selectProperties(scene, names))
        selected.push_back(graph.indexOf(property.property));
    return selected;
}

int runDeps(const DepsOptions& options)
{
    PreparedScene prepared(options.file);
    if (!prepared.isWhole())
        return SceneHasErrors;
    Scene& scene = prepared.scene;
    const ReferenceGraph graph(scene);
    const std::vector<Index> selected = selectedIn(scene, graph, options.names);

    Output output;
    Listing listing(scene, graph, output);
    if (options.asDot) {
        writeDot(scene, graph, selected, output);
    } else if (options.asTree && options.names.empty()) {
        listing.forest();
    } else {
        for (const Index property : selected) {
            if (options.asTree)
                listing.trees(property);
            else if (!options.unused)
                listing.neighbors(property);
            else if (graph.users[property].empty())
                listing.heading(property);
        }
    }
    scene.file.requireUnchanged();
    output.finish();
    return prepared.hasMistakes ? SceneHasErrors : Fine;
}

constexpr const char* footer =
    R"(Shows each property with its line and column, what it refers to and what refers to it. References
to the running scene, as @rig.pos, are not looked at.

Examples:
  marl deps shot.scene lamp.power
  marl deps shot.scene lamp.light --tree
  marl deps shot.scene --unused
  marl deps shot.scene --dot | dot -Tsvg > shot.svg)";

} // namespace

void addDepsCommand(CLI::App& app, int& status)
{
    CLI::App* command = app.add_subcommand("deps", "Show what properties use and what uses them");
    const auto options = std::make_shared<DepsOptions>();
    command->add_option("FILE", options->file, "The scene")->required()->type_name("");
    command->add_option("PROPERTY", options->names, "Only of these properties")->type_name("");
    CLI::Option* tree = command->add_flag("--tree", options->asTree, "And what these use or are used by, and so on");
    CLI::Option* dot = command->add_flag("--dot", options->asDot, "Everything connected, as a graph for Graphviz");
    CLI::Option* unused = command->add_flag("--unused", options->unused, "Only properties that nothing refers to");
    tree->excludes(dot);
    unused->excludes(tree)->excludes(dot);
    command->footer(footer);
    command->callback([options, &status] { status = runDeps(*options); });
}

} // namespace Marl::Host
