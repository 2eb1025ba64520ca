#include <marl/ast/program.h>

#include <memory>

namespace Marl {

namespace {

// Appends behind the last record; the hint saves the walk unless the chain was relinked by hand.
template <typename Record>
void link(Record*& first, Record*& lastHint, Record* added)
{
    Record* last = first && lastHint ? lastHint : first;
    while (last && last->next)
        last = last->next;
    (last ? last->next : first) = added;
    lastHint = added;
}

} // namespace

ProgramAST::~ProgramAST()
{
    for (ExpressionAST* node : nodes)
        if (node)
            std::destroy_at(node);
}

PropertyAST* ObjectAST::addProperty(const char* propertyName, ExpressionAST* expression)
{
    PropertyAST& added = program.properties.emplace_back();
    added.name = propertyName;
    added.expression = expression;
    link(firstProperty, lastProperty, &added);
    return &added;
}

ObjectAST* ProgramAST::addObject(const char* name)
{
    ObjectAST& added = objects.emplace_back(*this, name);
    if (const char* key = added.name)
        objectsByName.try_emplace(key, &added);
    link(firstObject, lastObject, &added);
    return &added;
}

void ProgramAST::append(ListExpressionAST* list, ExpressionAST* item)
{
    ListItem& added = items.emplace_back();
    added.expression = item;
    link(list->firstItem, list->lastItem, &added);
    ++list->itemCount;
}

void ProgramAST::append(InterpolateExpressionAST* interpolation, ExpressionAST* time, ExpressionAST* value)
{
    InterpolateKey& added = keys.emplace_back();
    added.time = time;
    added.value = value;
    link(interpolation->firstKey, interpolation->lastKey, &added);
    ++interpolation->keyCount;
    interpolation->forgetConstantTimes();
}

void ProgramAST::addReferrer(PropertyAST* property, ObjectAST* object, PropertyAST* from)
{
    property->referrers = &referrers.emplace_back(PropertyReferrer{object, from, property->referrers});
}

ObjectAST* ProgramAST::getObject(const char* name)
{
    if (!name)
        return nullptr;
    const auto found = objectsByName.find(name);
    return found == objectsByName.end() ? nullptr : found->second;
}

} // namespace Marl
