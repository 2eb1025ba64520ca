// Records as the numbers that they consist of.
#pragma once

#include <marl/marl.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

struct Component {
    std::string_view suffix; // behind the property's name, ".x" say; empty for a plain number
    bool isSingle;           // of single precision, so fewer digits tell it
};

// The components of a number, vector, color, matrix or transform in order; none of other kinds.
// The columns of a matrix are .0, .1 and .2, the parts of a transform .matrix and .offset.
std::span<const Component> componentsOf(int kind);

// The components of the value, or of all values of a column of one kind, appended.
void appendNumbers(const Value& value, std::vector<double>& numbers);
void appendNumbers(const Column& column, std::vector<double>& numbers);

// The components' shortest texts that give them back.
std::vector<std::string> componentTexts(int kind, std::span<const double> numbers);

} // namespace Marl::Host
