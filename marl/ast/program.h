// The parsed program: objects, their properties, and everything that belongs to them.
//
// Objects, properties, list items and keys hang in chains. remove() takes records out of them; what it took out
// lives as long as the program.
//
// A host may also link chains by hand while nothing else uses the program. What it links behind the last record
// is noticed. Where it takes records out, puts others between them or renames them it sets the chain's last
// pointer too, to null where it does not know the end; the next lookup, append or removal then goes through the
// whole chain. As long as the pointer is the old one, names are found as they were, and what is appended hangs
// behind the record that was the last.
#pragma once

#include <marl/ast/nodes.h>

#include <concepts>
#include <cstddef>
#include <deque>
#include <memory_resource>
#include <unordered_map>
#include <vector>

namespace Marl {

// Says that a reference to some property stands in this property of this object.
struct PropertyReferrer {
    ObjectAST* object = nullptr;
    PropertyAST* property = nullptr;
    PropertyReferrer* next = nullptr;

    // By these it is taken out again.
    PropertyReferrer* previous = nullptr;
    PropertyAST* referred = nullptr;           // the property among whose referrers it stands
    PropertyReferenceAST* reference = nullptr; // null where a host recorded it for a node of its own
    PropertyReferrer* nextReference = nullptr; // of those that were made from the same property
};

template <typename Record>
class NameTable;

// Where a table of names has met a record.
template <typename Record>
struct PlaceInChain {
    const NameTable<Record>* table = nullptr;
    Record* previous = nullptr;
    CharString name; // a record that was renamed since is still found by it
};

// Finds the records of a chain by name, in a table of the records from the first to the last.
template <typename Record>
class NameTable {
public:
    // The first of that name; null is the name of records without one.
    Record* find(Record* first, Record*& last, const char* name);

    // On failure nothing is appended.
    void append(Record*& first, Record*& last, Record* added);

    bool contains(Record* first, Record*& last, const Record* record);

    // The next record of the name behind one that the chain contains, or null.
    Record* nextOfName(Record* first, Record*& last, const Record* record);

    // Takes out a record that the chain contains. It names no neighbor any more.
    void remove(Record*& first, Record*& last, Record* record);

private:
    struct Namesakes {
        Record* first = nullptr;
        std::size_t count = 0;
    };
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(const char* name) const;
    };
    struct Equal {
        using is_transparent = void;
        bool operator()(const char* left, const char* right) const;
    };

    void catchUp(Record* first, Record*& last);
    void enter(Record* record, Record* previous);

    std::unordered_map<CharString, Namesakes, Hash, Equal> records;
    Record* knownFirst = nullptr;
    Record* knownLast = nullptr;
};

class MARL_API PropertyAST {
public:
    CharString name; // may have no text
    ExpressionAST* expression = nullptr;
    PropertyAST* next = nullptr;
    PropertyReferrer* referrers = nullptr; // newest first, recorded by the resolution pass
    ObjectAST* object = nullptr;           // to which it was added; null where a host links it by hand

    // Kept by the program and the resolution pass for themselves.
    PropertyReferrer* references = nullptr;             // the records that were made from this property
    std::vector<InterpolateExpressionAST*> curves = {}; // that stand in it
    PlaceInChain<PropertyAST> place = {};
};

class MARL_API ObjectAST {
public:
    ObjectAST(ProgramAST& owner, const char* givenName) : name(givenName), program(owner) {}

    // Appends a property; its name may be null.
    PropertyAST* addProperty(const char* name, ExpressionAST* expression);

    // The first property of that name, or null; a null name finds the first property without a name.
    // In constant time, but for what was linked by hand since. Throws std::bad_alloc.
    PropertyAST* getProperty(const char* name);

    const CharString name; // may have no text
    PropertyAST* firstProperty = nullptr;
    PropertyAST* lastProperty = nullptr;
    ObjectAST* next = nullptr;

private:
    friend class ProgramAST;
    friend class NameTable<ObjectAST>;

    ProgramAST& program;
    NameTable<PropertyAST> propertiesByName;
    PlaceInChain<ObjectAST> place;
};

// Owns the nodes, items, keys, properties, objects and referrers made through it; nothing of
// them is freed before the program, and freeing it does not recurse. Built by one thread.
class MARL_API ProgramAST {
public:
    ProgramAST() = default;
    ~ProgramAST();
    ProgramAST(const ProgramAST&) = delete;
    ProgramAST& operator=(const ProgramAST&) = delete;

    // A new node of the class, owned by the program.
    template <std::derived_from<ExpressionAST> Node>
    Node* make()
    {
        nodes.push_back(nullptr); // so that nothing throws once the node is made
        Node* made = std::pmr::polymorphic_allocator<>(&room).new_object<Node>();
        nodes.back() = made;
        return made;
    }

    ObjectAST* addObject(const char* name);
    void append(ListExpressionAST* list, ExpressionAST* item);
    void append(InterpolateExpressionAST* interpolation, ExpressionAST* time, ExpressionAST* value);

    // Take out of the scene what is in it, in constant time but for the way to an index, which counts along
    // the chain as it stands (sorted keys in the order of their times). What is not there throws
    // InvalidOpException and changes nothing. The records that say "a reference stands in this property" go
    // along; who refers to it stays recorded until it is resolved anew: see DecorationVisitor::changed(), which
    // also says when to call it.
    void remove(PropertyAST* property);
    void remove(ObjectAST* object);
    void remove(ListExpressionAST* list, int index);
    void remove(InterpolateExpressionAST* interpolation, int index);

    // Every other property whose value may change with this one's, through references, each once and after
    // what it depends on; properties in a circle stand together, in any order. The property itself is among
    // them where it stands in a circle. As far as the resolution pass recorded who refers to whom. Takes time
    // and memory for what depends on it, and no stack. Several threads may ask at once. Throws std::bad_alloc.
    std::vector<PropertyAST*> dependents(PropertyAST* property) const;

    // Records at the head of the property's referrers that `object` refers to it in its property `from`, by
    // the reference where there is one.
    void addReferrer(PropertyAST* property, ObjectAST* object, PropertyAST* from,
                     PropertyReferenceAST* reference = nullptr);

    // The first object of that name, or null; null for a null name. In constant time, as getProperty() is.
    ObjectAST* getObject(const char* name);

    ObjectAST* firstObject = nullptr;
    ObjectAST* lastObject = nullptr;

private:
    friend class ObjectAST;
    friend class DecorationVisitor;

    // The object in whose chain the property stands; null where it is not in the scene.
    ObjectAST* objectOf(const PropertyAST* property);
    // The next property of the same name in its object, which this one hides, or null.
    PropertyAST* hiddenBy(const PropertyAST* property);

    // Takes out the records that were made from the property, and gives them back linked by nextReference.
    PropertyReferrer* takeReferences(PropertyAST* property) noexcept;
    // Records that were taken out are used again.
    void reuse(PropertyReferrer* taken) noexcept;

    // The nodes of a tree stand close together, which a walk of a cold tree gains by.
    std::pmr::monotonic_buffer_resource room;
    std::vector<ExpressionAST*> nodes;
    std::deque<ListItem> items;
    std::deque<InterpolateKey> keys;
    std::deque<PropertyAST> properties;
    std::deque<PropertyReferrer> referrers;
    PropertyReferrer* unusedReferrers = nullptr; // linked by next
    std::deque<ObjectAST> objects;
    NameTable<ObjectAST> objectsByName;
};

} // namespace Marl
