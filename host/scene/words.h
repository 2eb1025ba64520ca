// The words of the scene text, which are therefore no names.
#pragma once

#include <marl/ast/nodes.h>

#include <string_view>
#include <vector>

namespace Marl::Host {

struct Word {
    // What the word makes, followed by its values in round brackets where it takes any.
    enum Use { Structure, Number, Constant, Function, Vector, Color, AColor, Matrix, Transform, Other, Data };

    std::string_view text;
    Use use;
    int values = 0;        // how many it takes; of Other and Data the grammar knows
    Builtin function = {}; // of a constant or function

    bool takesRoundBrackets() const { return use >= Function && use <= Other; }
};

std::vector<std::string_view> callableWords();

// Null for what is no word of the language.
const Word* findWord(std::string_view text);

} // namespace Marl::Host
