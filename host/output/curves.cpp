#include <host/output/curves.h>

#include <host/report/number_text.h>
#include <host/report/utf8.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace Marl::Host {

namespace {

// Within single quotes nothing is replaced or run, and a line cannot end.
std::string gnuplotText(std::string_view name)
{
    std::string text = "'";
    for (const char c : printable(name))
        text += c == '\'' ? std::string("''") : std::string(1, c);
    return text + '\'';
}

// A name and its points, one a line; a blank line is a gap, but two would begin other data.
std::string dataBlock(std::string_view name, const CurveGroup& group, const Curve& curve, bool onlyKeys)
{
    std::string block = fmt::format("{} << end\n", name);
    bool isInGap = true;
    for (std::size_t i = 0; i < group.times.size(); ++i) {
        if (onlyKeys && !group.isKey[i])
            continue;
        const bool isPoint = std::isfinite(curve.values[i]);
        if (isPoint)
            block += fmt::format("{} {}\n", numberText(group.times[i]), numberText(curve.values[i]));
        else if (!isInGap)
            block += '\n';
        isInGap = !isPoint;
    }
    return block + "end\n";
}

bool hasKeys(const CurveGroup& group)
{
    return std::ranges::find(group.isKey, true) != group.isKey.end();
}

// The fifth color would be a yellow that white swallows.
Picture drawnPicture(std::string_view terminal)
{
    return {fmt::format("set terminal {}\n"
                        "set grid back linetype 1 linecolor '#dddddd'\n"
                        "set linetype 5 linecolor '#8c6d1f'\n",
                        terminal),
            "linewidth 2", "pointtype 7"};
}

} // namespace

Picture textPicture(int columns, int lines)
{
    return {fmt::format("set terminal dumb size {},{} noenhanced\n", columns, lines), "", "pointtype 'O'"};
}

Picture svgPicture()
{
    return drawnPicture("svg size 1000,600 noenhanced background 'white'");
}

Picture pngPicture()
{
    return drawnPicture("pngcairo size 1000,600 noenhanced");
}

std::string gnuplotScript(const std::vector<CurveGroup>& groups, double from, double to, const Picture& picture)
{
    std::string data;
    std::vector<std::string> plots;
    bool anyKeys = false;
    int number = 0;
    for (const CurveGroup& group : groups)
        for (const Curve& curve : group.curves) {
            ++number;
            const std::string line = fmt::format("$curve{}", number), keys = fmt::format("$keys{}", number);
            data += dataBlock(line, group, curve, false);
            plots.push_back(fmt::format("{} with lines linetype {} {} title {}", line, number, picture.lineStyle,
                                        gnuplotText(' ' + curve.name)));
            if (!hasKeys(group))
                continue;
            anyKeys = true;
            data += dataBlock(keys, group, curve, true);
            plots.push_back(fmt::format("{} with points linetype {} {} notitle", keys, number, picture.keyStyle));
        }
    if (anyKeys)
        plots.push_back(fmt::format("NaN with points linetype -1 {} title ' keys'", picture.keyStyle));
    return fmt::format("{}"
                       "set xrange [{}:{}]\n"
                       "set offsets 0, 0, graph 0.03, graph 0.03\n"
                       "set xlabel 'time'\n"
                       "set key below Left reverse\n"
                       "set border back\n"
                       "{}plot {}\n",
                       picture.settings, numberText(from), numberText(to), data, fmt::join(plots, ", "));
}

} // namespace Marl::Host
