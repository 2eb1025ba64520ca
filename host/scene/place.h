// Where what was read stands in the file.
#pragma once

#include <host/report/span.h>

#include <marl/marl.h>

#include <optional>
#include <utility>
#include <vector>

namespace Marl::Host {

// A node carries its place itself. Of keys, properties and objects the reader notes it here: first everything
// is noted, then it is sealed, then it is asked.
class PlaceTable {
public:
    void note(ExpressionAST* node, Span span);
    void note(const void* thing, Span span) { places.emplace_back(thing, span); }
    void seal();

    // Nothing for what was not read from the file.
    std::optional<Span> find(const ExpressionAST* node) const;
    std::optional<Span> find(const void* thing) const;

private:
    std::vector<std::pair<const void*, Span>> places; // sorted by the pointer once sealed
};

} // namespace Marl::Host
