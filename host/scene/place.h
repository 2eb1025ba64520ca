// The table from what was read to where it stands.
#pragma once

#include <host/report/span.h>

#include <optional>
#include <utility>
#include <vector>

namespace Marl::Host {

// The tree knows nothing of files, so the reader notes here where each node, key, property and
// object was read. First everything is noted, then it is sealed, then it is asked.
class PlaceTable {
public:
    void note(const void* thing, Span span) { places.emplace_back(thing, span); }
    void seal();

    // Nothing for what was not read from the file, as the elements of a data list.
    std::optional<Span> find(const void* thing) const;

private:
    std::vector<std::pair<const void*, Span>> places; // sorted by the pointer once sealed
};

} // namespace Marl::Host
