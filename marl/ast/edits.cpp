// What an edit of an open scene needs of the program: records that are taken out, and who depends on whom.
#include <marl/ast/program.h>

#include <marl/value/detail/failures.h>

#include <algorithm>
#include <cstddef>
#include <unordered_map>
#include <utility>

namespace Marl {

namespace {

template <typename Record>
Record* removed(Record*& first, Record*& last, int& count, int index, const char* complaint)
{
    Record* previous = nullptr;
    Record* found = index < 0 ? nullptr : first;
    for (int i = 0; found && i < index; ++i)
        previous = std::exchange(found, found->next);
    if (!found)
        fail(complaint);
    (previous ? previous->next : first) = found->next;
    if (last == found)
        last = previous;
    if (index < count)
        --count;
    return found;
}

} // namespace

void ProgramAST::remove(ListExpressionAST* list, int index)
{
    removed(list->firstItem, list->lastItem, list->itemCount, index, "The list has no such item to remove.");
}

void ProgramAST::remove(InterpolateExpressionAST* interpolation, int index)
{
    removed(interpolation->firstKey, interpolation->lastKey, interpolation->keyCount, index,
            "The interpolation has no such key to remove.");
    interpolation->forgetConstantTimes();
}

void ProgramAST::remove(PropertyAST* property)
{
    ObjectAST* object = property ? objectOf(property) : nullptr;
    if (!object)
        fail("The property to remove is not in the scene.");
    object->propertiesByName.remove(object->firstProperty, object->lastProperty, property);
    reuse(takeReferences(property));
}

void ProgramAST::remove(ObjectAST* object)
{
    if (!object || !objectsByName.contains(firstObject, lastObject, object))
        fail("The object to remove is not in the scene.");
    objectsByName.remove(firstObject, lastObject, object);
    for (PropertyAST* property = object->firstProperty; property; property = property->next)
        reuse(takeReferences(property));
}

ObjectAST* ProgramAST::objectOf(const PropertyAST* property)
{
    const auto holds = [&](ObjectAST* object) {
        return object->propertiesByName.contains(object->firstProperty, object->lastProperty, property);
    };
    if (ObjectAST* object = property->object)
        return objectsByName.contains(firstObject, lastObject, object) && holds(object) ? object : nullptr;
    ObjectAST* object = firstObject;
    while (object && !holds(object))
        object = object->next;
    return object;
}

PropertyAST* ProgramAST::hiddenBy(const PropertyAST* property)
{
    ObjectAST* object = objectOf(property);
    return object ? object->propertiesByName.nextOfName(object->firstProperty, object->lastProperty, property)
                  : nullptr;
}

void ProgramAST::addReferrer(PropertyAST* property, ObjectAST* object, PropertyAST* from,
                             PropertyReferenceAST* reference)
{
    PropertyReferrer* added = unusedReferrers;
    if (added)
        unusedReferrers = added->next;
    else
        added = &referrers.emplace_back();
    *added = {.object = object,
              .property = from,
              .next = property->referrers,
              .referred = property,
              .reference = reference};
    if (added->next)
        added->next->previous = added;
    property->referrers = added;
    if (from)
        added->nextReference = std::exchange(from->references, added);
}

PropertyReferrer* ProgramAST::takeReferences(PropertyAST* property) noexcept
{
    for (PropertyReferrer* record = property->references; record; record = record->nextReference) {
        (record->previous ? record->previous->next : record->referred->referrers) = record->next;
        if (record->next)
            record->next->previous = record->previous;
    }
    return std::exchange(property->references, nullptr);
}

void ProgramAST::reuse(PropertyReferrer* taken) noexcept
{
    for (; taken; taken = taken->nextReference)
        taken->next = std::exchange(unusedReferrers, taken);
}

// Tarjan's strongly connected components, with a stack of its own. A component comes after all that depend on it,
// so the reverse is the order asked for.
std::vector<PropertyAST*> ProgramAST::dependents(PropertyAST* property) const
{
    constexpr std::size_t done = ~std::size_t(0);
    struct Visit {
        PropertyAST* property;
        const PropertyReferrer* rest; // referrers not looked at yet
        std::size_t number;
        std::size_t lowest; // number of a property that can be reached and still waits
    };
    std::unordered_map<const PropertyAST*, std::size_t> numbers; // in the order of their first visit, until done
    std::vector<Visit> visits;
    std::vector<PropertyAST*> waiting; // for the end of their component
    std::vector<PropertyAST*> found;
    bool isInCircle = false;

    const auto visit = [&](PropertyAST* next) {
        const std::size_t number = numbers.size();
        numbers.emplace(next, number);
        waiting.push_back(next);
        visits.push_back({next, next->referrers, number, number});
    };
    if (property)
        visit(property);
    while (!visits.empty()) {
        Visit& current = visits.back();
        if (const PropertyReferrer* record = current.rest) {
            current.rest = record->next;
            isInCircle = isInCircle || record->property == property;
            if (!record->property)
                continue;
            if (const auto met = numbers.find(record->property); met == numbers.end())
                visit(record->property);
            else if (met->second != done)
                current.lowest = std::min(current.lowest, met->second);
            continue;
        }
        const Visit finished = current;
        visits.pop_back();
        if (!visits.empty())
            visits.back().lowest = std::min(visits.back().lowest, finished.lowest);
        if (finished.lowest != finished.number)
            continue;
        PropertyAST* member = nullptr;
        do {
            member = waiting.back();
            waiting.pop_back();
            numbers[member] = done;
            found.push_back(member);
        } while (member != finished.property);
    }
    if (!isInCircle && !found.empty())
        found.pop_back(); // the property itself, on which all others depend
    std::ranges::reverse(found);
    return found;
}

} // namespace Marl
