#include <host/scene/words.h>

#include <host/functions/functions.h>

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

std::vector<std::string_view> callableNames()
{
    std::vector<std::string_view> callable;
    for (const Function& function : allFunctions())
        callable.push_back(function.name);
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

bool isReserved(std::string_view name)
{
    const Function* function = findFunction(name);
    return findWord(name) || (function && function->form.builtin);
}

} // namespace Marl::Host
