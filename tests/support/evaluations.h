// One expression of every kind, and of every way in which an evaluation takes memory, reads the
// source or shares what it found.
#pragma once

#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <deque>
#include <initializer_list>
#include <string>
#include <vector>

namespace Marl::Tests {

// An expression, what it comes to at time 1, and which operands may lie on the evaluator's stack
// when it was stopped: whole ones.
struct Evaluation {
    const char* name;
    ExpressionAST* expression;
    std::string result;
    std::vector<std::string> operands = {};

    bool mayLeave(const std::string& top) const;
};

struct Evaluations {
    // Every source lacks that many bytes at its end.
    explicit Evaluations(int lacking = 0);

    struct Source {
        explicit Source(const std::string& text) : stream(text) {}

        FakeStream stream;
        bool isKept = false; // for good once it was read
    };

    Tree t;
    SourceOwner owner;
    std::deque<Source> sources;
    std::vector<Evaluation> rows;

    void resolve(const Evaluation& row);

    // Nobody holds the mutex, and the streams stand where they stood.
    bool areAtRest();
    int reads() const;

private:
    template <typename Node>
    Node* unread(const std::string& text, const char* scenePath = nullptr);
    template <typename List>
    ExpressionAST* element(const std::string& text, std::initializer_list<Operand> indices);

    Object rig{"rig"};
    FixedParser parser{&rig};
    int missing;
};

} // namespace Marl::Tests
