// Compiles the expressions of a tree together and evaluates them beside the plain walk.
#pragma once

#include <fuzz/random_tree.h>

namespace Marl::Fuzz {

// The trees are the same, each evaluated in one of the ways. Ends the process where the outcomes differ,
// and says so. Throws ReferenceWalk::TooMuchWork when the plain walk would take too long.
void expectCompiledSame(const RandomTree& plain, const RandomTree& compiled);

// Edits both, the same way, and goes on with what is compiled of the second by updating it.
void expectUpdatedSame(RandomTree& plain, RandomTree& tree);

} // namespace Marl::Fuzz
