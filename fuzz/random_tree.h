// A tree that bytes describe. Every string of bytes is one, and the same bytes give the same tree.
#pragma once

#include <host/scene/running_scene.h>

#include <marl/marl.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <map>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace Marl::Fuzz {

// The text that nodes of the tree read from.
class TextStream final : public SourceStream {
public:
    std::int64_t tell() override { return position; }
    void seek(std::int64_t to) override { position = to; }
    void read(char* buffer, int size, int* status) override;

    int reads = 0;

private:
    std::int64_t position = 0;
};

// All kinds of nodes, as hosts may build them by mistake too: nodes of any kind anywhere, nodes
// missing, nodes in more than one place or below themselves, references to nothing, to each
// other and in circles, counts that are not so, operators that do not exist.
class RandomTree {
public:
    RandomTree(std::span<const std::uint8_t> bytes, Host::RunningScene& running);

    // How to evaluate it.
    std::vector<double> times; // two at least, times of keys among them
    bool holdsKeys;
    int depthLimit;
    bool isSorted; // whether the keys are to be sorted first

    // Some of these times in some order.
    std::vector<double> batch() const;

    // Edits it here and there, by the bytes from their other end. The resolution pass ends at circles and at what
    // it cannot bind, so what it notes is noted by hand: once before anything is compiled, then by each edit,
    // which gives the properties that what was compiled is to be told of. The roots are again those of the
    // properties that they were of.
    using Properties = std::set<PropertyAST*>;
    Properties noteHolders();
    Properties edit();

    ProgramAST program;
    std::vector<PropertyAST*> properties; // some may have no expression
    std::vector<ExpressionAST*> roots;    // the properties' expressions, and some nodes below them
    std::vector<InterpolateExpressionAST*> interpolations;
    std::vector<const int*> shareCounts; // of the data lists that are read already

    TextStream stream;
    int hostsMet = 0; // how often a host's node was visited or asked for an element

private:
    // How a batch takes from the times: every one this often in a row, then one so many places on.
    struct Pattern {
        std::size_t size, run, step, first;
    } pattern;

    int below(int end) { return bytes->ConsumeIntegralInRange(0, end - 1); }
    double number();
    float singleNumber() { return static_cast<float>(number()); }
    const char* name();
    int count(int real);

    ValueType anyKind();

    // A node, mostly one that has a value of the wanted kind.
    ExpressionAST* node(ValueType wanted = ValueType::Undefined);
    ExpressionAST* nodeOf(ValueType kind);
    ExpressionAST* anyNode();
    template <typename Node>
    Node* make();
    void noteTimes();
    ExpressionAST* constant();
    ExpressionAST* time();
    ExpressionAST* index();
    ExpressionAST* binary(ValueType kind);
    ExpressionAST* builtin();
    ExpressionAST* list(ValueType kind = ValueType::Undefined); // of such items
    ExpressionAST* reference();
    ExpressionAST* element(ValueType kind = ValueType::Undefined);
    ExpressionAST* keys(ValueType kind);
    ExpressionAST* negated(ValueType kind);
    ExpressionAST* vector(int type);
    ExpressionAST* matrix();
    ExpressionAST* alphaColor();
    ExpressionAST* transform();
    ExpressionAST* identifier();
    ExpressionAST* handedOn();
    ExpressionAST* function(ValueType kind);
    ExpressionAST* string();
    template <typename T>
    ExpressionAST* data();
    template <typename Node>
    Node* placed(Node* node);
    template <typename Node>
    ExpressionAST* named();

    ExpressionAST* anyMade();
    ExpressionAST* replacement(const ExpressionAST* parent);
    void replaceChild(ExpressionAST* parent);
    void editOnePlace(ExpressionAST* node);
    void editItems(ListExpressionAST* list);
    void editKeys(InterpolateExpressionAST* keys);
    template <typename T>
    bool editData(ExpressionAST* node);
    template <typename T>
    void fill(PtrArray<T>& values);

    std::optional<FuzzedDataProvider> bytes;
    std::vector<std::uint8_t> backwards;
    std::map<PropertyAST*, std::set<ExpressionAST*>> holdings;
    std::set<std::pair<PropertyAST*, PropertyAST*>> referrals; // recorded already
    std::vector<PropertyAST*> wholeOf;                         // for each root the property whose expression it is
    Parser& parser;
    SourceOwner owner;
    std::vector<ExpressionAST*> made;
    int levels = 0;
};

// Where the nodes below a node hang: all that its evaluation may come to, but for what references lead to.
std::vector<ExpressionAST**> childrenOf(ExpressionAST* node);

// Nodes of this kind alone are no visit, so no limit would end a circle of them.
bool isHandingOn(const ExpressionAST* node);

} // namespace Marl::Fuzz
