// The common base of all nodes of an expression tree.
#pragma once

#include <marl/api.h>
#include <marl/ast/forward.h>

#include <cstdint>

namespace Marl {

// Nodes belong to their program; a host may derive nodes of its own. A tree is prepared by
// one thread; then any number of evaluators may walk it at once.
class MARL_API ExpressionAST {
public:
    virtual ~ExpressionAST() = default;

    // Calls the visit operation of the node's own class.
    virtual void accept(Visitor* visitor) = 0;

    // The sub-expression at `index`, borrowed, which indexing evaluates in place of the
    // whole. Throws InvalidOpException where the node has no elements or not this one; a
    // host's node may also return null for the latter. Safe from several threads.
    virtual ExpressionAST* getElement(int index);

    // A number of the host's own, by which it finds what it knows about the node.
    std::uint64_t hostData = 0;

    // The property in whose expression the node stands: what a failure names. Noted by the resolution pass.
    PropertyAST* heldBy = nullptr;

    ExpressionAST(const ExpressionAST&) = delete;
    ExpressionAST& operator=(const ExpressionAST&) = delete;

protected:
    ExpressionAST() = default;
};

} // namespace Marl
