// The forms in which values over time are written.
#pragma once

#include <host/output/output.h>
#include <host/output/track.h>

#include <span>
#include <string>

namespace Marl::Host {

// A row a time and a column a component; what is missing is left empty. Where a property changes
// its kind it has the columns of all of them.
void writeTable(Output& output, const Times& times, std::span<const Track> tracks);
void writeCsv(Output& output, const Times& times, std::span<const Track> tracks);

// An array of {"property", "type", "samples": [[time, value], ...]}. The type is the kind of the first
// value, null where there is none; a value of another kind has its kind behind it. What is missing
// is null.
void writeJson(Output& output, const Times& times, std::span<const Track> tracks);

// What the table and csv show of a value that is no record: texts as they are, the rest as scenes
// write it. JSON wants jsonValue().
std::string cellText(const Value& value);

} // namespace Marl::Host
