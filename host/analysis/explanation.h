// What the parts of an expression gave.
#pragma once

#include <host/analysis/evaluation.h>
#include <host/analysis/limits.h>

#include <optional>
#include <string>
#include <vector>

namespace Marl::Host {

struct ExplainedPart {
    int level = 0;              // how far below the whole
    std::optional<Span> place;  // none for what is not written in the file
    std::optional<Value> value; // none where there is only the remark
    std::string remark = {};
    bool fails = false; // this part itself; the remark is the message
    const PropertyReferenceAST* reference = nullptr;
};

// The parts in the order of the text, each followed by those below it. Plain numbers have no line of
// their own: the part around them shows them. Of keys those in use are parts, of references what
// they name. Long lists and deep trees are cut, but never before the part that fails, which is also
// followed into other properties.
std::vector<ExplainedPart> explain(const Scene& scene, const SceneProperty& property, const Moment& moment,
                                   const Limits& limits);

} // namespace Marl::Host
