// The parsed program: objects, their properties, and everything that belongs to them.
#pragma once

#include <marl/ast/nodes.h>

#include <concepts>
#include <deque>
#include <memory_resource>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Marl {

// Says that a reference to some property stands in this property of this object.
struct PropertyReferrer {
    ObjectAST* object = nullptr;
    PropertyAST* property = nullptr;
    PropertyReferrer* next = nullptr;
};

class MARL_API PropertyAST {
public:
    CharString name; // may have no text
    ExpressionAST* expression = nullptr;
    PropertyAST* next = nullptr;           // the object's next property
    PropertyReferrer* referrers = nullptr; // newest first, recorded by the resolution pass
};

class MARL_API ObjectAST {
public:
    ObjectAST(ProgramAST& owner, const char* givenName) : name(givenName), program(owner) {}

    // Appends a property; its name may be null.
    PropertyAST* addProperty(const char* name, ExpressionAST* expression);

    const CharString name; // may have no text
    PropertyAST* firstProperty = nullptr;
    ObjectAST* next = nullptr; // the program's next object

private:
    ProgramAST& program;
    PropertyAST* lastProperty = nullptr; // only a hint where to append
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

    // The first object of that name, or null; null for a null name.
    ObjectAST* getObject(const char* name);

    ObjectAST* firstObject = nullptr;

private:
    friend class ObjectAST;

    ObjectAST* lastObject = nullptr;

    // The nodes of a tree stand close together, which a walk of a cold tree gains by.
    std::pmr::monotonic_buffer_resource room;
    std::vector<ExpressionAST*> nodes;
    std::deque<ListItem> items;
    std::deque<InterpolateKey> keys;
    std::deque<PropertyAST> properties;
    std::deque<PropertyReferrer> referrers;
    std::deque<ObjectAST> objects;
    std::unordered_map<std::string_view, ObjectAST*> objectsByName;
};

} // namespace Marl
