// The parsed program: objects, their properties, and everything that belongs to them.
//
// Objects, properties, list items and keys hang in chains, which a host may also link by hand while nothing
// else uses the program. What it links behind the last record is noticed. Where it takes records out, puts
// others between them or renames them it sets the chain's last pointer too, to null where it does not know the
// end; the next lookup or append then goes through the whole chain. As long as the pointer is the old one,
// names are found as they were, and what is appended hangs behind the record that was the last.
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
};

// Finds the records of a chain by name, in a table of the records from the first to the last.
template <typename Record>
class NameTable {
public:
    // The first of that name; null is the name of records without one.
    Record* find(Record* first, Record*& last, const char* name);

    // On failure nothing is appended.
    void append(Record*& first, Record*& last, Record* added);

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(const char* name) const;
    };
    struct Equal {
        using is_transparent = void;
        bool operator()(const char* left, const char* right) const;
    };

    void catchUp(Record* first, Record*& last);

    std::unordered_map<CharString, Record*, Hash, Equal> records;
    Record* knownFirst = nullptr;
    Record* knownLast = nullptr;
};

class MARL_API PropertyAST {
public:
    CharString name; // may have no text
    ExpressionAST* expression = nullptr;
    PropertyAST* next = nullptr;
    PropertyReferrer* referrers = nullptr; // newest first, recorded by the resolution pass
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
    ProgramAST& program;
    NameTable<PropertyAST> propertiesByName;
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

    // Records at the head of the property's referrers that `object` refers to it in its property `from`.
    void addReferrer(PropertyAST* property, ObjectAST* object, PropertyAST* from);

    // The first object of that name, or null; null for a null name. In constant time, as getProperty() is.
    ObjectAST* getObject(const char* name);

    ObjectAST* firstObject = nullptr;
    ObjectAST* lastObject = nullptr;

private:
    friend class ObjectAST;

    // The nodes of a tree stand close together, which a walk of a cold tree gains by.
    std::pmr::monotonic_buffer_resource room;
    std::vector<ExpressionAST*> nodes;
    std::deque<ListItem> items;
    std::deque<InterpolateKey> keys;
    std::deque<PropertyAST> properties;
    std::deque<PropertyReferrer> referrers;
    std::deque<ObjectAST> objects;
    NameTable<ObjectAST> objectsByName;
};

} // namespace Marl
