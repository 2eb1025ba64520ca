// A scene source in memory that misbehaves on request and notices what its readers do.
#pragma once

#include <marl/ast/source.h>

#include <atomic>
#include <climits>
#include <cstdint>
#include <string>
#include <thread>

namespace Marl::Tests {

// What a stream throws when it is told to.
struct StreamBroke {};

// A reader's sequence is tell, seek, at most one read, seek back. What comes between the calls of
// one sequence, from another thread or in another order, counts as out of turn.
class FakeStream final : public SourceStream {
public:
    explicit FakeStream(std::string given) : text(std::move(given)) {}

    std::int64_t tell() override;
    void seek(std::int64_t target) override;
    void read(char* buffer, int size, int* status) override;

    // The faults, none at first.
    int givesAtMost = INT_MAX; // bytes a read; the rest of the buffer is left alone
    int reports = 0;           // the status of a read
    std::string throwsAt;      // "tell", "seek", "read" or "seek back", once

    std::int64_t position = 0;
    std::atomic<int> outOfTurn = 0;
    int reads() const { return readCount; }

private:
    void call(const char* name, bool begins, bool ends);

    std::string text;
    std::atomic<std::thread::id> reader; // whose sequence it is; nobody's between sequences
    int seeks = 0;                       // of this sequence
    int readCount = 0;
};

// Where a node's text stands in the fake source.
template <typename Node>
Node* placed(Node* node, SourceOwner& owner, FakeStream& stream, std::int64_t offset, int length)
{
    node->owner = &owner;
    node->stream = &stream;
    node->sourceOffset = offset;
    node->length = length;
    return node;
}

} // namespace Marl::Tests
