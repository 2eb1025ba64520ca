#include <fuzz/compiled_outcomes.h>

#include <fuzz/outcome.h>
#include <fuzz/reference_walk.h>
#include <fuzz/same_bits.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

namespace Marl::Fuzz {

namespace {

constexpr int mostVisits = 100'000; // of all walks of a tree, and so many again in its batch

struct Expected {
    Outcome outcome;
    bool metHost = false;
};

// Of one expression at all times of its tree.
using Row = std::vector<Expected>;

Expected expectedOf(const RandomTree& tree, ExpressionAST* root, double time, int& visitsLeft)
{
    if (!root)
        return {{"Expression is incomplete.", Value(), ""}};
    ReferenceWalk walk;
    walk.time = time;
    walk.holdsKeys = tree.holdsKeys;
    walk.depthLimit = tree.depthLimit;
    walk.visitLimit = visitsLeft;
    const int before = tree.hostsMet;
    Outcome outcome = outcomeOf(walk, root);
    visitsLeft -= walk.visits();
    if (!outcome.failure.empty()) {
        CalculationVisitor named; // the plain walk names no node
        named.setTimeParam(time);
        named.setDontInterpolate(tree.holdsKeys ? 1 : 0);
        named.setDepthLimit(tree.depthLimit);
        outcome.details = outcomeOf(named, root).details;
        outcome.top = Value();
    }
    return {std::move(outcome), tree.hostsMet != before};
}

void expectAsWalked(const char* how, const Outcome& outcome, const Expected& expected)
{
    if (expected.metHost && (isOfSurroundings(outcome.failure) || isOfSurroundings(expected.outcome.failure)))
        return;
    expectSame(how, outcome, expected.outcome);
}

void expect(bool isSo, const char* what)
{
    if (isSo)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

void expectTyped(const Column& column, const auto& typed, ValueType kind)
{
    expect(typed.size() == (column.kind() == kind ? column.size() : 0), "a typed column has all values or none");
    for (std::size_t i = 0; i < typed.size(); ++i)
        expect(sameBits(Value(typed[i]), column.valueAt(i)), "a typed column has the values");
}

void expectKind(const Column& column)
{
    bool isOfOneKind = column.size() > 0;
    for (std::size_t i = 0; i < column.size() && isOfOneKind; ++i)
        isOfOneKind = !column.failed(i) && column.valueAt(i).kind() == column.valueAt(0).kind();
    // Undefined may be a value, or that there is none.
    if (!isOfOneKind || column.valueAt(0).kind() != ValueType::Undefined)
        expect(column.kind().has_value() == isOfOneKind, "a column has a kind where all values have it");
    if (column.kind())
        expect(*column.kind() == column.valueAt(0).kind(), "the kind is that of the values");
    expectTyped(column, column.numbers(), ValueType::Double);
    expectTyped(column, column.vectors(), ValueType::Vector);
    expectTyped(column, column.colors(), ValueType::Color);
    expectTyped(column, column.acolors(), ValueType::AColor);
    expectTyped(column, column.matrices(), ValueType::Matrix);
    expectTyped(column, column.transforms(), ValueType::Transform);
}

// Where each of a batch's times stands among the tree's.
std::vector<std::size_t> placesOf(std::span<const double> batch, std::span<const double> times)
{
    std::vector<std::size_t> places;
    for (const double time : batch) {
        const auto isSame = [time](double other) { return sameBits(time, other); };
        places.push_back(static_cast<std::size_t>(std::ranges::find_if(times, isSame) - times.begin()));
    }
    return places;
}

// All that the plain walk says of a tree.
struct Walked {
    explicit Walked(const RandomTree& plain);

    std::vector<Row> rows; // one a root
    int visits = 0;
};

Walked::Walked(const RandomTree& plain)
{
    int visitsLeft = mostVisits;
    for (ExpressionAST* root : plain.roots)
        for (Row& row = rows.emplace_back(); row.size() < plain.times.size();)
            row.push_back(expectedOf(plain, root, plain.times[row.size()], visitsLeft));
    visits = mostVisits - visitsLeft;
}

// As many times of the tree's batch as can be afforded.
std::vector<double> batchOf(const RandomTree& tree, const Walked& walked)
{
    const std::size_t affordable = mostVisits / (static_cast<std::size_t>(walked.visits) / tree.times.size() + 1) + 1;
    std::vector<double> batch = tree.batch();
    batch.resize(std::min(batch.size(), affordable));
    return batch;
}

void set(auto& evaluator, const RandomTree& tree)
{
    evaluator.setDontInterpolate(tree.holdsKeys ? 1 : 0);
    evaluator.setDepthLimit(tree.depthLimit);
}

void expectColumns(const CompiledExpressions& compiled, BatchEvaluator& evaluator, const RandomTree& tree,
                   const Walked& walked, std::span<const double> batch)
{
    evaluator.evaluate(batch);
    const std::vector<std::size_t> places = placesOf(batch, tree.times);
    for (std::size_t e = 0; e < walked.rows.size(); ++e) {
        const Row& expected = walked.rows[e];
        const Column& column = evaluator.column(e);
        expect(column.size() == batch.size(), "a column is as long as its batch");
        std::vector<int> failures(tree.times.size()); // to throw all would take most of the time
        for (std::size_t i = 0; i < batch.size(); ++i) {
            const Expected& row = expected[places[i]];
            if (column.failed(i) && !row.outcome.failure.empty() && ++failures[places[i]] > 3)
                continue;
            const Outcome outcome = outcomeOf(column, i);
            expect(column.failed(i) == !outcome.failure.empty(), "a column says what failed");
            expectAsWalked("compiled, in a batch", outcome, row);
        }
        expectKind(column);
        const auto isSame = [&](const Expected& other) {
            return other.outcome.failure == expected[0].outcome.failure
                && sameBits(other.outcome.top, expected[0].outcome.top);
        };
        expect(compiled.variesWithTime(e) || std::ranges::all_of(expected, isSame),
               "what does not vary is the same at all times");
    }
}

void expectValues(BatchEvaluator& evaluator, const RandomTree& tree, const Walked& walked)
{
    for (std::size_t e = 0; e < walked.rows.size(); ++e)
        for (std::size_t i = 0; i < tree.times.size(); ++i)
            expectAsWalked("compiled, alone", outcomeOf(evaluator, tree.times[i], e), walked.rows[e][i]);
}

void expectSameWalks(const RandomTree& tree, const Walked& walked)
{
    for (std::size_t e = 0; e < tree.roots.size(); ++e)
        for (std::size_t i = 0; i < tree.times.size() && tree.roots[e]; ++i) {
            CalculationVisitor walk;
            set(walk, tree);
            walk.setTimeParam(tree.times[i]);
            Outcome outcome = outcomeOf(walk, tree.roots[e]);
            if (!outcome.failure.empty())
                outcome.top = Value();
            expectSame("walked, after edits", outcome, walked.rows[e][i].outcome);
        }
}

} // namespace

void expectCompiledSame(const RandomTree& plain, const RandomTree& tree)
{
    const Walked walked(plain);
    const int hostsMet = tree.hostsMet, reads = tree.stream.reads;
    const CompiledExpressions compiled(tree.roots);
    expect(compiled.size() == tree.roots.size(), "there are as many compiled expressions");
    expect(tree.hostsMet == hostsMet && tree.stream.reads == reads, "compiling asks neither host nor source");
    BatchEvaluator evaluator(compiled);
    set(evaluator, tree);

    std::vector<double> batch = batchOf(tree, walked);
    expectColumns(compiled, evaluator, tree, walked, batch);
    std::ranges::reverse(batch); // so that nothing of the batch before is right
    expectColumns(compiled, evaluator, tree, walked, batch);
    expectValues(evaluator, tree, walked);
    for (std::size_t e = 0; e < walked.rows.size(); ++e) // the column is as it was
        expectAsWalked("compiled, after others", outcomeOf(evaluator.column(e), batch.size() - 1),
                       walked.rows[e][placesOf(std::span(batch).last(1), tree.times)[0]]);
    expectColumns(compiled, evaluator, tree, walked, tree.times);
    expectColumns(compiled, evaluator, tree, walked, {});
}

void expectUpdatedSame(RandomTree& plain, RandomTree& tree)
{
    constexpr int rounds = 2;
    plain.noteHolders();
    tree.noteHolders();
    CompiledExpressions compiled(tree.roots);
    BatchEvaluator evaluator(compiled);
    set(evaluator, tree);
    evaluator.evaluate(tree.times);
    for (int round = 0; round < rounds; ++round) {
        plain.edit();
        const RandomTree::Properties edited = tree.edit();
        compiled.update(std::vector(edited.begin(), edited.end()));
        const Walked walked(plain);
        expectSameWalks(tree, walked);
        const std::vector<double> batch = batchOf(tree, walked);
        expectColumns(compiled, evaluator, tree, walked, batch);
        expectValues(evaluator, tree, walked);

        const CompiledExpressions anew(tree.roots);
        BatchEvaluator fresh(anew);
        set(fresh, tree);
        expectColumns(anew, fresh, tree, walked, batch);
        for (std::size_t e = 0; e < tree.roots.size(); ++e) {
            expect(compiled.variesWithTime(e) == anew.variesWithTime(e), "what is updated varies as it does anew");
            if (evaluator.column(e).kind() != fresh.column(e).kind())
                expect(false, "what is updated has the kind that it has anew");
        }
    }
}

} // namespace Marl::Fuzz
