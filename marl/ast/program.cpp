#include <marl/ast/program.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string_view>

namespace Marl {

namespace {

// Of fewer than two records the chain itself shows where it ends, whatever `last` says.
template <typename Record>
Record* knownEnd(Record* first, Record* last)
{
    return first && first->next ? last : first;
}

template <typename Record>
void appendTo(Record*& first, Record*& last, Record* added)
{
    Record* end = knownEnd(first, last);
    if (!end)
        end = first;
    while (end && end->next)
        end = end->next;
    (end ? end->next : first) = added;
    last = added;
}

} // namespace

template <typename Record>
std::size_t NameTable<Record>::Hash::operator()(const char* name) const
{
    return std::hash<std::string_view>()(name ? name : "");
}

template <typename Record>
bool NameTable<Record>::Equal::operator()(const char* left, const char* right) const
{
    return left && right ? std::strcmp(left, right) == 0 : left == right;
}

// Writes nothing where nothing was linked by hand, so that several threads may look up at once.
template <typename Record>
void NameTable<Record>::catchUp(Record* first, Record*& last)
{
    if (first != knownFirst || knownEnd(first, last) != knownLast) {
        records.clear();
        knownFirst = first;
        knownLast = nullptr;
    }
    Record* next = knownLast ? knownLast->next : first;
    for (; next; next = next->next) {
        records.try_emplace(next->name, next);
        knownLast = next;
    }
    if (last != knownLast)
        last = knownLast;
}

template <typename Record>
Record* NameTable<Record>::find(Record* first, Record*& last, const char* name)
{
    catchUp(first, last);
    const auto found = records.find(name);
    return found == records.end() ? nullptr : found->second;
}

template <typename Record>
void NameTable<Record>::append(Record*& first, Record*& last, Record* added)
{
    catchUp(first, last);
    records.try_emplace(added->name, added);
    appendTo(first, last, added);
    knownFirst = first;
    knownLast = last;
}

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
    propertiesByName.append(firstProperty, lastProperty, &added);
    return &added;
}

PropertyAST* ObjectAST::getProperty(const char* propertyName)
{
    return propertiesByName.find(firstProperty, lastProperty, propertyName);
}

ObjectAST* ProgramAST::addObject(const char* name)
{
    ObjectAST& added = objects.emplace_back(*this, name);
    objectsByName.append(firstObject, lastObject, &added);
    return &added;
}

ObjectAST* ProgramAST::getObject(const char* name)
{
    return name ? objectsByName.find(firstObject, lastObject, name) : nullptr;
}

void ProgramAST::append(ListExpressionAST* list, ExpressionAST* item)
{
    ListItem& added = items.emplace_back();
    added.expression = item;
    appendTo(list->firstItem, list->lastItem, &added);
    ++list->itemCount;
}

void ProgramAST::append(InterpolateExpressionAST* interpolation, ExpressionAST* time, ExpressionAST* value)
{
    InterpolateKey& added = keys.emplace_back();
    added.time = time;
    added.value = value;
    appendTo(interpolation->firstKey, interpolation->lastKey, &added);
    ++interpolation->keyCount;
    interpolation->forgetConstantTimes();
}

void ProgramAST::addReferrer(PropertyAST* property, ObjectAST* object, PropertyAST* from)
{
    property->referrers = &referrers.emplace_back(PropertyReferrer{object, from, property->referrers});
}

} // namespace Marl
