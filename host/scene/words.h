// The words of the scene text.
#pragma once

#include <marl/ast/nodes.h>

#include <string_view>
#include <vector>

namespace Marl::Host {

struct Word {
    // What the word makes, followed by its values in round brackets where it takes any.
    enum Use { Structure, Number, Constant, Vector, Color, AColor, Matrix, Transform, Other, Data };

    std::string_view text;
    Use use;
    std::size_t values = 0; // how many it takes; of Other and Data the grammar knows
    Builtin constant = {};

    bool takesRoundBrackets() const { return use >= Vector && use <= Other; }
};

// Words that take round brackets, and functions.
std::vector<std::string_view> callableNames();

// Null for what is no word of the language. Functions are none.
const Word* findWord(std::string_view text);

// Whether a name of this text stands in back-quotes. The host's own functions have names that others may have.
bool isReserved(std::string_view name);

} // namespace Marl::Host
