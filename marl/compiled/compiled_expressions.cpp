#include <marl/compiled/compiled_expressions.h>

#include <marl/ast/program.h>
#include <marl/compiled/detail/compilation.h>
#include <marl/compiled/detail/compiler.h>
#include <marl/value/detail/arithmetic_environment.h>

#include <algorithm>
#include <functional>
#include <unordered_set>
#include <utility>

namespace Marl {

namespace {

CompiledRoot rootOf(ExpressionAST* expression, std::uint32_t column)
{
    CompiledRoot root;
    root.expression = expression;
    root.column = column;
    root.heldBy = expression ? expression->heldBy : nullptr;
    root.isWholeProperty = root.heldBy && root.heldBy->expression == expression;
    return root;
}

// What is compiled of an expression after its property was edited.
CompiledRoot present(const CompiledRoot& before)
{
    if (!before.isWholeProperty)
        return rootOf(before.expression, before.column);
    CompiledRoot root = rootOf(before.heldBy->expression, before.column);
    root.heldBy = before.heldBy;
    root.isWholeProperty = true;
    return root;
}

Compilation::Part compiled(std::span<CompiledRoot> roots)
{
    const ArithmeticEnvironment standard; // constants are computed here
    auto program = std::make_shared<CompiledProgram>();
    Compiler(roots, *program);
    Compilation::Part part{std::move(program), {}, roots.size()};
    part.columns.reserve(roots.size());
    for (const CompiledRoot& root : roots)
        part.columns.push_back(root.column);
    return part;
}

// The properties and all that depend on them; and null, which stands for an unknown one.
std::unordered_set<const PropertyAST*> withDependents(std::span<PropertyAST* const> edited)
{
    std::unordered_set<const PropertyAST*> found{nullptr};
    std::vector<const PropertyAST*> pending;
    const auto add = [&](const PropertyAST* property) {
        if (found.insert(property).second)
            pending.push_back(property);
    };
    for (const PropertyAST* property : edited)
        add(property);
    while (!pending.empty()) {
        const PropertyAST* property = pending.back();
        pending.pop_back();
        for (const PropertyReferrer* referrer = property->referrers; referrer; referrer = referrer->next)
            add(referrer->property);
    }
    return found;
}

} // namespace

Compilation::Compilation(std::span<ExpressionAST* const> expressions)
{
    roots.reserve(expressions.size());
    holdings.reserve(expressions.size());
    for (ExpressionAST* expression : expressions) {
        const auto column = static_cast<std::uint32_t>(roots.size());
        roots.push_back(rootOf(expression, column));
        holdings.push_back({roots.back().heldBy, column});
    }
    sortHoldings();
    parts.push_back(compiled(roots));
}

void Compilation::sortHoldings() noexcept
{
    std::ranges::sort(holdings, std::less(), &Holding::property);
}

std::vector<CompiledRoot> Compilation::affected(std::span<PropertyAST* const> edited) const
{
    std::vector<CompiledRoot> found;
    for (const PropertyAST* property : withDependents(edited))
        for (auto holding = std::ranges::lower_bound(holdings, property, std::less(), &Holding::property);
             holding != holdings.end() && holding->property == property; ++holding)
            found.push_back(present(roots[holding->column]));
    return found;
}

void Compilation::update(std::span<PropertyAST* const> edited)
{
    std::vector<CompiledRoot> changed = affected(edited);
    if (changed.empty())
        return;
    Part part = compiled(changed);
    if (takeAlong(changed, part.program->size))
        part = compiled(changed);
    parts.reserve(parts.size() + 1);
    replace(changed, std::move(part));
}

// Programs that are small beside the new one are joined with it, up to a size that takes no time to speak of. So
// their number does not grow with that of the updates, and none is joined again and again.
bool Compilation::takeAlong(std::vector<CompiledRoot>& changed, std::size_t size) const
{
    constexpr std::size_t mostNodes = 1'000;
    std::unordered_set<std::uint32_t> isChanged;
    std::vector<bool> isTaken(parts.size());
    const std::size_t before = changed.size();
    for (bool again = size < mostNodes; std::exchange(again, false);)
        for (std::size_t i = 0; i < parts.size(); ++i) {
            if (!parts[i].program || isTaken[i])
                continue;
            const std::size_t further = parts[i].program->size;
            if (further >= 2 * size || size + further > mostNodes)
                continue;
            if (isChanged.empty())
                for (const CompiledRoot& root : changed)
                    isChanged.insert(root.column);
            isTaken[i] = again = true;
            const std::size_t without = changed.size();
            for (const std::uint32_t column : parts[i].columns)
                if (roots[column].part == i && !isChanged.contains(column))
                    changed.push_back(roots[column]);
            if (changed.size() > without)
                size += further;
        }
    return changed.size() > before;
}

void Compilation::replace(std::span<const CompiledRoot> changed, Part&& part) noexcept
{
    const auto free = std::ranges::find(parts, nullptr, &Part::program);
    const auto place = static_cast<std::uint32_t>(free - parts.begin());
    if (free == parts.end())
        parts.emplace_back(); // there is room
    parts[place] = std::move(part);
    bool isMoved = false;
    for (const CompiledRoot& root : changed) {
        CompiledRoot& before = roots[root.column];
        if (Part& left = parts[before.part]; --left.left == 0)
            left = {};
        isMoved |= before.heldBy != root.heldBy;
        before = root;
        before.part = place;
    }
    if (isMoved) {
        for (Holding& holding : holdings)
            holding.property = roots[holding.column].heldBy;
        sortHoldings();
    }
    ++version;
}

CompiledExpressions::CompiledExpressions(std::span<ExpressionAST* const> expressions)
    : compilation(std::make_unique<Compilation>(expressions))
{}

CompiledExpressions::~CompiledExpressions() = default;
CompiledExpressions::CompiledExpressions(CompiledExpressions&&) noexcept = default;
CompiledExpressions& CompiledExpressions::operator=(CompiledExpressions&&) noexcept = default;

void CompiledExpressions::update(std::span<PropertyAST* const> edited)
{
    compilation->update(edited);
}

std::size_t CompiledExpressions::size() const
{
    return compilation->roots.size();
}

bool CompiledExpressions::variesWithTime(std::size_t expression) const
{
    return compilation->roots[expression].varies;
}

} // namespace Marl
