// Lists of plain data, which may be large and stay in the source until they are asked for.
#pragma once

#include <marl/ast/expression.h>
#include <marl/ast/source.h>
#include <marl/value/ptr_array.h>

#include <atomic>
#include <cstdint>
#include <mutex>

namespace Marl {

// A list of T = Vector, int, Color, float or CharString. Its elements are nodes made when
// first indexed and kept with the list; an unread list is read once for them.
template <typename T>
class MARL_API ListTypeExpressionAST final : public ExpressionAST {
public:
    ListTypeExpressionAST() = default;
    ~ListTypeExpressionAST() override;

    void accept(Visitor* visitor) override;
    ExpressionAST* getElement(int index) override;

    // The list as its text in the source says, read under the owner's mutex on every call and
    // not kept; an ArrayHold gives the array up. Throws InvalidOpException with what was
    // expected and where. readListText() describes the text.
    PtrArray<T> readFromSource();

    // The elements are made anew from what the list then is, in the same nodes as far as they were made
    // before: what was handed out lives as long as the list. Call it when `values`, or the place in the source,
    // has changed and nobody evaluates.
    void forgetElements();

    // Where the text between the brackets stands; without owner there is none.
    SourceOwner* owner = nullptr;
    SourceStream* stream = nullptr;
    std::int64_t sourceOffset = 0;
    int length = 0; // bytes

    int loaded = 0;     // non-zero when values holds the list
    PtrArray<T> values; // the node gives its reference up
    CharString scenePath;

private:
    struct Elements;
    Elements& elementTable();

    std::mutex elementsMutex; // held while the table is made
    std::atomic<Elements*> elements = nullptr;
    Elements* forgotten = nullptr; // has the nodes, and perhaps no data
};

} // namespace Marl
