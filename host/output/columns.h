// Tracks as columns of cells.
#pragma once

#include <host/output/track.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

class Columns {
public:
    explicit Columns(const Track& given);

    std::vector<std::string> header() const;
    // The cells at the index; a kind fills its own columns and leaves the others empty.
    std::vector<std::string> row(std::size_t index) const;

private:
    std::size_t columnOf(std::string_view suffix) const;

    const Track& track;
    std::vector<std::string_view> suffixes;
};

} // namespace Marl::Host
