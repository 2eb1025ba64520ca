#include <host/output/formats.h>

#include <host/output/columns.h>
#include <host/output/components.h>
#include <host/output/json_text.h>
#include <host/output/value_text.h>
#include <host/report/kind_text.h>
#include <host/report/number_text.h>
#include <host/report/utf8.h>
#include <host/scene/names.h>

#include <algorithm>

namespace Marl::Host {

namespace {

using Row = std::vector<std::string>;

// The header, then one row a time.
template <typename Take>
void forEachRow(const Times& times, std::span<const Track> tracks, Take take)
{
    const std::vector<Columns> columns(tracks.begin(), tracks.end());
    Row row = {"time"};
    for (const Columns& property : columns)
        std::ranges::move(property.header(), std::back_inserter(row));
    take(row);
    for (std::size_t i = 0; i < times.count; ++i) {
        row.assign(1, numberText(times[i]));
        for (const Columns& property : columns)
            std::ranges::move(property.row(i), std::back_inserter(row));
        take(row);
    }
}

std::string quotedForCsv(const std::string& cell)
{
    if (cell.find_first_of(",\"\r\n") == std::string::npos)
        return cell;
    std::string quoted = "\"";
    for (const char c : cell)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + '"';
}

// One line, so that the rows stay rows.
std::string shownInTable(const std::string& cell)
{
    std::string shown = printable(cell);
    std::ranges::replace(shown, '\t', ' ');
    return shown;
}

} // namespace

std::string cellText(const Value& value)
{
    return value.kind() == ValueType::String ? std::string(textOf(value.getString())) : valueText(value);
}

void writeTable(Output& output, const Times& times, std::span<const Track> tracks)
{
    std::vector<std::size_t> widths;
    forEachRow(times, tracks, [&](const Row& row) {
        widths.resize(row.size());
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], utf8Characters(shownInTable(row[i])).size());
    });
    forEachRow(times, tracks, [&](const Row& row) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string cell = shownInTable(row[i]);
            line += std::string(widths[i] - utf8Characters(cell).size() + (i > 0 ? 2 : 0), ' ') + cell;
        }
        output.write(line + '\n');
    });
}

void writeCsv(Output& output, const Times& times, std::span<const Track> tracks)
{
    forEachRow(times, tracks, [&](const Row& row) {
        std::string line;
        for (const std::string& cell : row)
            line += (line.empty() ? "" : ",") + quotedForCsv(cell);
        output.write(line + '\n');
    });
}

void writeJson(Output& output, const Times& times, std::span<const Track> tracks)
{
    std::string_view separator = "[\n";
    for (const Track& track : tracks) {
        int type = Track::missing;
        for (std::size_t i = 0; i < track.size() && type == Track::missing; ++i)
            type = track.kindAt(i);
        output.write(separator);
        output.write("  {\"property\": " + jsonText(track.name) + ", \"type\": "
                     + (type == Track::missing ? "null" : jsonText(kindName(type))) + ", \"samples\": [");
        for (std::size_t i = 0; i < track.size(); ++i) {
            const int kind = track.kindAt(i);
            output.write((i > 0 ? ", [" : "[") + jsonNumber(times[i]) + ", ");
            if (kind == Track::missing)
                output.write("null");
            else if (componentsOf(kind).empty())
                output.write(track.textAt(i));
            else
                output.write(jsonRecord(kind, track.numbersAt(i)));
            output.write(kind == type || kind == Track::missing ? "]" : ", " + jsonText(kindName(kind)) + "]");
        }
        output.write("]}");
        separator = ",\n";
    }
    output.write(tracks.empty() ? "[]\n" : "\n]\n");
}

} // namespace Marl::Host
