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
        enter(next, knownLast);
        knownLast = next;
    }
    if (last != knownLast)
        last = knownLast;
}

template <typename Record>
void NameTable<Record>::enter(Record* record, Record* previous)
{
    Namesakes& namesakes = records[record->name];
    if (++namesakes.count == 1)
        namesakes.first = record;
    record->place = {this, previous, record->name};
}

template <typename Record>
Record* NameTable<Record>::find(Record* first, Record*& last, const char* name)
{
    catchUp(first, last);
    const auto found = records.find(name);
    return found == records.end() ? nullptr : found->second.first;
}

template <typename Record>
void NameTable<Record>::append(Record*& first, Record*& last, Record* added)
{
    catchUp(first, last);
    enter(added, knownLast);
    appendTo(first, last, added);
    knownFirst = first;
    knownLast = last;
}

template <typename Record>
bool NameTable<Record>::contains(Record* first, Record*& last, const Record* record)
{
    catchUp(first, last);
    const auto& [table, previous, name] = record->place;
    return table == this && (previous ? previous->next : first) == record;
}

template <typename Record>
Record* NameTable<Record>::nextOfName(Record* first, Record*& last, const Record* record)
{
    catchUp(first, last);
    if (records.find(record->place.name)->second.count == 1)
        return nullptr;
    Record* next = record->next;
    while (next && next->place.name != record->place.name)
        next = next->next;
    return next;
}

template <typename Record>
void NameTable<Record>::remove(Record*& first, Record*& last, Record* record)
{
    Record* const namesake = nextOfName(first, last, record);
    const auto found = records.find(record->place.name);
    if (--found->second.count == 0)
        records.erase(found);
    else if (found->second.first == record)
        found->second.first = namesake;

    Record* const previous = record->place.previous;
    (previous ? previous->next : first) = record->next;
    if (record->next)
        record->next->place.previous = previous;
    else
        last = previous;
    knownFirst = first;
    knownLast = last;
    record->next = nullptr;
    record->place = {};
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
    added.object = this;
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

template class NameTable<PropertyAST>;
template class NameTable<ObjectAST>;

} // namespace Marl
