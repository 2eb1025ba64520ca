// What hosts do to an open scene, done to a random tree.
#include <fuzz/random_tree.h>

#include <algorithm>
#include <map>
#include <utility>

namespace Marl::Fuzz {

namespace {

std::set<ExpressionAST*> nodesBelow(ExpressionAST* root)
{
    std::set<ExpressionAST*> met;
    std::vector<ExpressionAST*> pending = {root};
    while (!pending.empty()) {
        ExpressionAST* node = pending.back();
        pending.pop_back();
        if (node && met.insert(node).second)
            for (ExpressionAST** child : childrenOf(node))
                pending.push_back(*child);
    }
    return met;
}

} // namespace

// Gives the properties from which a node went, or to which it came.
RandomTree::Properties RandomTree::noteHolders()
{
    std::map<ExpressionAST*, PropertyAST*> before;
    for (ExpressionAST* node : made)
        before[node] = std::exchange(node->heldBy, nullptr);
    holdings.clear();
    for (PropertyAST* property : properties) {
        const std::set<ExpressionAST*>& nodes = holdings[property] = nodesBelow(property->expression);
        for (ExpressionAST* node : nodes) {
            node->heldBy = property;
            const auto* reference = dynamic_cast<PropertyReferenceAST*>(node);
            if (reference && reference->property && referrals.emplace(reference->property, property).second)
                program.addReferrer(reference->property, program.firstObject, property);
        }
    }

    wholeOf.resize(roots.size());
    for (std::size_t i = 0; i < roots.size(); ++i)
        if (!wholeOf[i] && roots[i] && roots[i]->heldBy && roots[i]->heldBy->expression == roots[i])
            wholeOf[i] = roots[i]->heldBy;
    Properties moved;
    for (const auto& [node, holder] : before)
        if (holder != node->heldBy)
            moved.insert({holder, node->heldBy});
    moved.erase(nullptr);
    return moved;
}

RandomTree::Properties RandomTree::edit()
{
    Properties edited;
    std::vector<ExpressionAST*> touched;
    for (int edits = 1 + below(4); edits > 0; --edits) {
        PropertyAST* property = properties[static_cast<std::size_t>(below(static_cast<int>(properties.size())))];
        if (below(8) == 1) {
            property->expression = replacement(nullptr);
            edited.insert(property);
        } else if (ExpressionAST* node = anyMade()) {
            editOnePlace(node);
            touched.push_back(node);
        }
    }
    const auto noteWhoHasThem = [&] {
        for (const auto& holding : holdings)
            if (std::ranges::any_of(touched, [&](ExpressionAST* node) { return holding.second.contains(node); }))
                edited.insert(holding.first);
    };
    noteWhoHasThem();    // before the edits, and then after them
    shareCounts.clear(); // of lists that may be gone
    if (isSorted)
        for (InterpolateExpressionAST* keys : interpolations)
            keys->sortKeys();
    for (std::size_t i = 0; i < roots.size(); ++i)
        if (wholeOf[i])
            roots[i] = wholeOf[i]->expression;
    edited.merge(noteHolders());
    noteWhoHasThem();
    return edited;
}

ExpressionAST* RandomTree::anyMade()
{
    return made.empty() ? nullptr : made[static_cast<std::size_t>(below(static_cast<int>(made.size())))];
}

ExpressionAST* RandomTree::replacement(const ExpressionAST* parent)
{
    switch (below(8)) {
    case 1: return nullptr;
    case 2: return time();
    case 3: return reference();
    case 4:
    case 5:
    case 6: {
        ExpressionAST* other = anyMade();
        return isHandingOn(parent) && isHandingOn(other) ? nullptr : other;
    }
    }
    return constant();
}

void RandomTree::editOnePlace(ExpressionAST* node)
{
    if (auto* literal = dynamic_cast<NumberExpressionAST*>(node))
        literal->number = number();
    else if (auto* binary = dynamic_cast<BinaryExpressionAST*>(node); binary && below(2) == 0)
        binary->op = TOKENTYPE(TOKEN_PLUS + below(4));
    else if (auto* reference = dynamic_cast<PropertyReferenceAST*>(node))
        reference->property = properties[static_cast<std::size_t>(below(static_cast<int>(properties.size())))];
    else if (auto* list = dynamic_cast<ListExpressionAST*>(node); list && below(2) == 0)
        editItems(list);
    else if (auto* keys = dynamic_cast<InterpolateExpressionAST*>(node); keys && below(2) == 0)
        editKeys(keys);
    else if (!editData<Vector>(node) && !editData<int>(node) && !editData<Color>(node) && !editData<float>(node)
             && !editData<CharString>(node))
        replaceChild(node);
}

void RandomTree::replaceChild(ExpressionAST* parent)
{
    const std::vector<ExpressionAST**> children = childrenOf(parent);
    if (!children.empty())
        *children[static_cast<std::size_t>(below(static_cast<int>(children.size())))] = replacement(parent);
}

void RandomTree::editItems(ListExpressionAST* list)
{
    const int count = static_cast<int>(childrenOf(list).size());
    if (count > 0 && below(2) == 0)
        program.remove(list, below(count));
    else
        program.append(list, replacement(list));
}

void RandomTree::editKeys(InterpolateExpressionAST* keys)
{
    const int count = static_cast<int>(childrenOf(keys).size() / 2);
    if (count > 0 && below(2) == 0)
        program.remove(keys, below(count));
    else
        program.append(keys, constant(), replacement(keys));
}

// A list in the source becomes one in memory.
template <typename T>
bool RandomTree::editData(ExpressionAST* node)
{
    auto* list = dynamic_cast<ListTypeExpressionAST<T>*>(node);
    if (!list)
        return false;
    fill(list->values);
    list->loaded = 1;
    list->forgetElements();
    return true;
}

} // namespace Marl::Fuzz
