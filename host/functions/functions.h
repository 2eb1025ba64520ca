// The functions of the scene text: the library's and the host's own.
#pragma once

#include <marl/marl.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

struct Function;

// What a function takes and gives, and the node that computes it.
struct FunctionForm {
    std::vector<FunctionKinds> kinds; // more than one where it takes one of several kinds
    bool takesMore = false;           // of the last kind, as many as there are
    std::optional<Builtin> builtin;   // of the library's; the host's own are made by:
    FunctionExpressionAST* (*make)(ProgramAST& program, const Function& function) = nullptr;
};

struct Function {
    std::string_view name;
    std::string_view arguments; // their names
    std::string_view sentence;
    FunctionForm form;

    std::size_t fewestArguments() const { return form.kinds.front().takes.size(); }

    std::string callText() const;  // "clamp(x, low, high)"
    std::string takesText() const; // "three numbers"
    std::string givesText() const; // "a number"

    // What it takes as the argument of that index, "a number".
    std::string argumentText(std::size_t index) const;
};

// In the order in which they are shown.
std::span<const Function> allFunctions();

// Null for what is no function.
const Function* findFunction(std::string_view name);

} // namespace Marl::Host
