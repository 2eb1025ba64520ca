#include <host/scene/words.h>

#include <algorithm>

namespace Marl::Host {

namespace {

// clang-format off
constexpr Word allWords[] = {
    {"scene",    Word::Structure},
    {"object",   Word::Structure},
    {"inf",      Word::Number},
    {"nan",      Word::Number},
    {"time",     Word::Constant,  0, Builtin::Time},
    {"sample",   Word::Constant,  0, Builtin::Sample},
    {"pi",       Word::Constant,  0, Builtin::Pi},
    {"sqr",      Word::Function,  1, Builtin::Sqr},
    {"sqrt",     Word::Function,  1, Builtin::Sqrt},
    {"sin",      Word::Function,  1, Builtin::Sin},
    {"cos",      Word::Function,  1, Builtin::Cos},
    {"length",   Word::Function,  1, Builtin::Length},
    {"noise",    Word::Function,  1, Builtin::Noise},
    {"pow",      Word::Function,  2, Builtin::Pow},
    {"cross",    Word::Function,  2, Builtin::Cross},
    {"uniform",  Word::Function,  2, Builtin::Uniform},
    {"vec",      Word::Vector,    3},
    {"rgb",      Word::Color,     3},
    {"rgba",     Word::AColor,    4},
    {"mat",      Word::Matrix,    3},
    {"xform",    Word::Transform, 2},
    {"xformhex", Word::Other},
    {"keys",     Word::Other},
    {"id",       Word::Other},
    {"float",    Word::Data},
    {"int",      Word::Data},
    {"string",   Word::Data},
};
// clang-format on

} // namespace

std::vector<std::string_view> callableWords()
{
    std::vector<std::string_view> callable;
    for (const Word& word : allWords)
        if (word.takesRoundBrackets())
            callable.push_back(word.text);
    return callable;
}

const Word* findWord(std::string_view text)
{
    const auto* found = std::ranges::find(allWords, text, &Word::text);
    return found == std::end(allWords) ? nullptr : found;
}

} // namespace Marl::Host
